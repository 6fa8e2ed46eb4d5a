#include "rkplay/clips/ClipLoader.h"

#include <algorithm>
#include <utility>

#include "contracts/RkMediaElement.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/clips/MediaFiles.h"
#include "rkplay/clips/Notes.h"
#include "rkplay/clips/OutputFormat.h"
#include "rkplay/clips/Playlist.h"
#include "rkplay/clips/SlotElement.h"

namespace rkplay {
namespace {

// Repeats of one line of a playlist, each of which becomes an element of its own.
constexpr int kMaximumLineRepeats = 10000;

// One element to be, or a row of equal ones: a file, or a pattern.
struct Source {
  ClipArgument clip;
  std::string context;  // leads messages: empty, or the playlist and line that name the source

  bool IsFile() const { return clip.kind == ClipKind::File; }
  std::string Name() const { return context + (IsFile() ? clip.path : clip.text); }
  [[noreturn]] void Refuse(const std::string& reason) const { throw UsageError(Name() + ": " + reason); }
};

// One list to be. Range and repeat count of the argument are the list's.
struct Plan {
  ClipArgument argument;
  std::vector<Source> sources;
};

Source LineSource(const PlaylistEntry& entry) {
  const int repeats = entry.clip.repeatCount;
  if (repeats == kRkRepeatEndless || repeats > kMaximumLineRepeats) {
    throw UsageError(entry.context + entry.clip.text + ": a line repeats its clip from 1 to " +
                     std::to_string(kMaximumLineRepeats) + " times");
  }
  return {entry.clip, entry.context};
}

Plan MakePlan(const std::string& text, bool allowUrls) {
  Plan plan{ParseClipArgument(text), {}};
  if (plan.argument.kind == ClipKind::Playlist) {
    for (const PlaylistEntry& entry : ReadPlaylist(plan.argument.path, allowUrls))
      plan.sources.push_back(LineSource(entry));
  } else {
    ClipArgument whole = plan.argument;
    whole.range.reset();
    whole.repeatCount = 1;
    plan.sources.push_back({whole, ""});
  }
  return plan;
}

MediaFiles ExamineFiles(const std::vector<Plan>& plans, const SRkMediaOptions& options) {
  std::vector<std::string> paths;
  for (const Plan& plan : plans) {
    for (const Source& source : plan.sources) {
      if (source.IsFile()) paths.push_back(source.clip.path);
    }
  }
  MediaFiles files;
  files.Examine(paths, options);
  return files;
}

// Leaves out what cannot be played, or refuses it.
void CheckFiles(std::vector<Plan>& plans, const MediaFiles& files, bool skipMissing, Notes& notes) {
  for (Plan& plan : plans) {
    std::erase_if(plan.sources, [&](const Source& source) {
      if (!source.IsFile() || files.Of(source.clip.path).file) return false;
      const std::string& reason = files.Of(source.clip.path).refusal;
      if (!skipMissing) source.Refuse(reason);
      PrintError("left out: " + source.Name() + ": " + reason);
      notes.Add("left out", source.Name() + ": " + reason);
      return true;
    });
  }
  std::erase_if(plans, [](const Plan& plan) { return plan.sources.empty(); });
  if (plans.empty()) throw UsageError("none of the clips can be played");
}

ClipNature NatureOf(const Source& source, const MediaFiles& files) {
  if (!source.IsFile()) return {DefaultFormat(), true, true};
  const SRkMediaDescription& file = files.Of(source.clip.path).description;
  return {file.format, file.hasVideo != FALSE, file.hasAudio != FALSE, file.isStill != FALSE,
          file.isSequence != FALSE};
}

OutputFormat ChooseFormat(const std::vector<Plan>& plans, const MediaFiles& files) {
  OutputFormat format;
  for (const Plan& plan : plans) {
    for (const Source& source : plan.sources) {
      if (format.WantsMore()) format.Consider(NatureOf(source, files));
    }
  }
  return format;
}

void Trim(IRkClipElement& element, const FrameRange& range) {
  CRkRef<IRkClipTrimInfo> trim;
  if (!RkCreateClipTrimInfo({{range.in, range.out}}, trim.Out())) throw UsageError("out of memory");
  element.SetTrimInfo(trim.Get());
}

// Makes the elements of one list and lays those that lie in the range end to end.
class ListBuilder {
 public:
  ListBuilder(const ClipArgument& argument, const SRkClipFormat& format, const SRkMediaOptions& options,
              const MediaFiles& files, Notes& notes, DWORD patienceMs)
      : m_argument(argument),
        m_format(format),
        m_options(options),
        m_files(files),
        m_notes(notes),
        m_patienceMs(patienceMs) {
    if (argument.range) m_range = argument.range->At(format.video.frameRate, argument.text);
    m_list.title = argument.text;
    m_list.repeatCount = argument.repeatCount;
    if (!RkCreateClipElementList(m_list.elements.Out())) throw UsageError("out of memory");
  }

  void Add(const Source& source) {
    for (int i = 0; i < source.clip.repeatCount; ++i) _AddElement(source);
  }

  ClipList Finish() {
    if (m_range && m_range->out > m_sourceFrames) _RefuseRange(m_argument.text, m_sourceFrames);
    if (m_list.frameCount == 0) throw UsageError(m_argument.text + ": holds no frame");
    return std::move(m_list);
  }

 private:
  [[noreturn]] static void _RefuseRange(const std::string& clip, ULONGLONG frameCount) {
    throw UsageError(clip + ": the range ends past the last of " + std::to_string(frameCount) + " frames");
  }

  void _AddElement(const Source& source) {
    const CRkRef<IRkClipElement> element = _Create(source);
    FrameRange shown = {0, element->GetFrameCount()};
    if (source.clip.range) {
      const FrameRange own = source.clip.range->At(m_format.video.frameRate, source.Name());
      if (own.out > shown.out) _RefuseRange(source.Name(), shown.out);
      shown = own;
    }
    const ULONGLONG begin = std::exchange(m_sourceFrames, m_sourceFrames + shown.out - shown.in);
    if (m_range) {
      const ULONGLONG in = std::max(m_range->in, begin);
      const ULONGLONG out = std::min(m_range->out, m_sourceFrames);
      if (in >= out) return;
      shown = {shown.in + in - begin, shown.in + out - begin};
    }
    if (source.IsFile()) _Note(source, shown.out == element->GetFrameCount());
    if (shown.in != 0 || shown.out != element->GetFrameCount()) Trim(*element, shown);
    const auto index = static_cast<UINT>(m_list.elements->GetCount());
    if (!m_list.elements->InsertElement(index, element.Get())) {
      source.Refuse("the list becomes too long, or goes on after a clip that has no end");
    }
    m_list.frameCount = m_list.elements->GetTotalFrameCount();
  }

  CRkRef<IRkClipElement> _Create(const Source& source) const {
    CRkRef<IRkClipElement> element;
    const auto report = CRkRef<ReadReport>::Adopt(new ReadReport);
    if (source.IsFile()) {
      _CreateFile(source, *report, &element);
      return CRkRef<IRkClipElement>::Adopt(new SlotElement(source.clip.path, element, report, m_patienceMs));
    }
    if (!RkCreatePatternClipElement(source.clip.patternFrames, element.Out())) source.Refuse("out of memory");
    if (!element->Open(nullptr, 0, &m_format)) source.Refuse("cannot be played as " + Describe(m_format));
    element->Close();
    return element;
  }

  void _CreateFile(const Source& source, ReadReport& report, CRkRef<IRkClipElement>* element) const {
    const MediaFiles::Entry& entry = m_files.Of(source.clip.path);
    SRkMediaOptions options = m_options;
    if (entry.description.isStill) options.stillFrames = _StillFrames(source);
    SRkMediaReason reason{};
    if (!entry.file->CreateElement(m_format.video.frameRate, &options, &report, element->Out(), &reason))
      source.Refuse(reason.text);
  }

  // As long as the range wants it that cuts the still out; 0 without one.
  UINT _StillFrames(const Source& source) const {
    const auto& range = m_argument.kind == ClipKind::Playlist ? source.clip.range : m_argument.range;
    if (!range) return 0;
    const ULONGLONG out = range->At(m_format.video.frameRate, source.Name()).out;
    return out < kRkNoPosition ? static_cast<UINT>(out) : 0;
  }

  void _Note(const Source& source, bool toItsEnd) {
    const SRkMediaDescription& file = m_files.Of(source.clip.path).description;
    m_notes.AddPictures(file, source.clip.path, m_options.deinterlace);
    if (file.unusedSound[0] != 0) m_notes.Add(file.unusedSound, source.clip.path);
    if (toItsEnd) m_notes.AddSoundExcess(file, source.clip.path, m_options.holdPicture != FALSE);
  }

  const ClipArgument& m_argument;
  const SRkClipFormat& m_format;
  const SRkMediaOptions& m_options;
  const MediaFiles& m_files;
  Notes& m_notes;
  const DWORD m_patienceMs;
  std::optional<FrameRange> m_range;
  ClipList m_list;
  ULONGLONG m_sourceFrames = 0;  // of all elements so far, without the list's range
};

}  // namespace

Programme LoadProgramme(const std::vector<std::string>& clips, const FormatOptions& format,
                        DWORD patienceMs) {
  std::vector<Plan> plans;
  plans.reserve(clips.size());
  for (const std::string& text : clips) plans.push_back(MakePlan(text, format.allowUrls));

  const SRkMediaOptions media = format.Media();
  const MediaFiles files = ExamineFiles(plans, media);
  Notes notes;
  CheckFiles(plans, files, format.skipMissing, notes);
  const OutputFormat chosen = ChooseFormat(plans, files);
  Programme programme{chosen.Chosen(format), chosen.HasPictures(), {}, {}, {}};
  for (const Plan& plan : plans) {
    ListBuilder builder(plan.argument, programme.format, media, files, notes, patienceMs);
    if (plan.argument.kind == ClipKind::Playlist) programme.inputPaths.push_back(plan.argument.path);
    for (const Source& source : plan.sources) {
      builder.Add(source);
      if (source.IsFile()) programme.inputPaths.push_back(source.clip.path);
    }
    programme.lists.push_back(builder.Finish());
  }
  programme.notes = notes.Lines();
  return programme;
}

void StartAt(Programme& programme, const FrameName& frame) {
  ClipList& first = programme.lists.front();
  const ULONGLONG start = frame.At(programme.format.video.frameRate, "--start");
  if (start >= first.frameCount) {
    throw UsageError("--start: " + frame.Text() + " is past the last frame of " + first.title +
                     ", which has " + std::to_string(first.frameCount));
  }
  first.startFrame = static_cast<UINT>(start);
}

Programme LoadClip(const std::string& text, const FormatOptions& format, const std::string& otherwise,
                   DWORD patienceMs) {
  const ClipArgument clip = ParseClipArgument(text);
  if (clip.kind == ClipKind::Playlist || clip.range || clip.repeatCount != 1) {
    throw UsageError(text + ": " + otherwise);
  }
  return LoadProgramme({text}, format, patienceMs);
}

}  // namespace rkplay
