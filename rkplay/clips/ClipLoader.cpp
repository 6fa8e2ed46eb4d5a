#include "rkplay/clips/ClipLoader.h"

#include <utility>

#include "contracts/RkMediaElement.h"
#include "rkplay/cli/UsageError.h"
#include "rkplay/clips/OutputFormat.h"
#include "rkplay/clips/Playlist.h"

namespace rkplay {
namespace {

// One element to be: a file, or a pattern.
struct Source {
  std::string path;  // empty for a pattern
  UINT patternFrames;
  std::string context;  // leads messages: empty, or the playlist and line that name the source

  [[noreturn]] void Refuse(const std::string& reason) const {
    throw UsageError(context + (path.empty() ? "pattern" : path) + ": " + reason);
  }
};

// One list to be.
struct Plan {
  ClipArgument argument;
  std::vector<Source> sources;
};

Plan MakePlan(const std::string& text) {
  Plan plan{ParseClipArgument(text), {}};
  const ClipArgument& clip = plan.argument;
  if (clip.kind == ClipKind::Pattern) plan.sources.push_back({"", clip.patternFrames, ""});
  if (clip.kind == ClipKind::File) plan.sources.push_back({clip.path, 0, ""});
  if (clip.kind == ClipKind::Playlist) {
    for (const PlaylistEntry& entry : ReadPlaylist(clip.path)) {
      const std::string context = clip.path + ": line " + std::to_string(entry.line) + ": ";
      try {
        const auto frames = ParsePattern(entry.clip);
        plan.sources.push_back({frames ? "" : entry.clip, frames.value_or(0), context});
      } catch (const UsageError& error) {
        throw UsageError(context + error.what());
      }
    }
  }
  return plan;
}

ClipNature NatureOf(const Source& source) {
  if (source.path.empty()) return {DefaultFormat(), true, true};
  SRkMediaDescription description{};
  SRkMediaReason reason{};
  if (!RkDescribeMedia(source.path.c_str(), &description, &reason)) source.Refuse(reason.text);
  return {description.format, description.hasVideo != FALSE, description.hasAudio != FALSE};
}

SRkClipFormat ChooseFormat(const std::vector<Plan>& plans, const FormatOptions& options) {
  OutputFormat format;
  for (const Plan& plan : plans) {
    for (const Source& source : plan.sources) {
      if (format.WantsMore()) format.Consider(NatureOf(source));
    }
  }
  return format.Chosen(options);
}

// Makes the elements of one list and lays those that lie in the range end to end.
class ListBuilder {
 public:
  ListBuilder(const ClipArgument& argument, const SRkClipFormat& format)
      : m_argument(argument), m_format(format) {
    m_list.title = argument.text;
    m_list.repeatCount = argument.repeatCount;
    if (!RkCreateClipElementList(m_list.elements.Out())) throw UsageError("out of memory");
  }

  void Add(const Source& source) {
    CRkRef<ReadErrors> errors;
    CRkRef<IRkClipElement> element = _Create(source, errors);
    if (!element->Open(nullptr, 0, &m_format)) source.Refuse("cannot be played as " + Describe(m_format));
    element->Close();
    const ULONGLONG begin = m_sourceFrames;
    m_sourceFrames += element->GetFrameCount();
    if (!_Trim(element, begin)) return;
    if (errors) {
      m_list.files.push_back({source.path, m_list.frameCount, element->GetFrameCount(), std::move(errors)});
    }
    const auto index = static_cast<UINT>(m_list.elements->GetCount());
    if (!m_list.elements->InsertElement(index, element.Get())) source.Refuse("the list becomes too long");
    m_list.frameCount = m_list.elements->GetTotalFrameCount();
  }

  ClipList Finish() {
    if (m_argument.range && m_argument.range->out > m_sourceFrames) {
      throw UsageError(m_argument.text + ": the range ends past the last of " +
                       std::to_string(m_sourceFrames) + " frames");
    }
    if (m_list.frameCount == 0) throw UsageError(m_argument.text + ": holds no frame");
    return std::move(m_list);
  }

 private:
  CRkRef<IRkClipElement> _Create(const Source& source, CRkRef<ReadErrors>& errors) const {
    CRkRef<IRkClipElement> element;
    if (source.path.empty()) {
      if (!RkCreatePatternClipElement(source.patternFrames, element.Out())) source.Refuse("out of memory");
      return element;
    }
    SRkMediaReason reason{};
    errors = CRkRef<ReadErrors>::Adopt(new ReadErrors);
    if (!RkCreateMediaClipElement(source.path.c_str(), m_format.video.frameRate, nullptr, errors.Get(),
                                  element.Out(), &reason)) {
      source.Refuse(reason.text);
    }
    return element;
  }

  // False when the element, which begins at `begin` of the untrimmed list, lies outside the range.
  bool _Trim(const CRkRef<IRkClipElement>& element, ULONGLONG begin) const {
    if (!m_argument.range) return true;
    const ULONGLONG in = std::max<ULONGLONG>(m_argument.range->in, begin);
    const ULONGLONG out = std::min<ULONGLONG>(m_argument.range->out, m_sourceFrames);
    if (in >= out) return false;
    CRkRef<IRkClipTrimInfo> trim;
    if (!RkCreateClipTrimInfo({{in - begin, out - begin}}, trim.Out())) throw UsageError("out of memory");
    element->SetTrimInfo(trim.Get());
    return true;
  }

  const ClipArgument& m_argument;
  const SRkClipFormat& m_format;
  ClipList m_list;
  ULONGLONG m_sourceFrames = 0;  // of all elements so far, untrimmed
};

}  // namespace

Programme LoadProgramme(const Options& options) {
  std::vector<Plan> plans;
  for (const std::string& text : options.clips) plans.push_back(MakePlan(text));

  Programme programme{ChooseFormat(plans, options.format), {}, {}};
  for (const Plan& plan : plans) {
    ListBuilder builder(plan.argument, programme.format);
    if (plan.argument.kind == ClipKind::Playlist) programme.inputPaths.push_back(plan.argument.path);
    for (const Source& source : plan.sources) {
      builder.Add(source);
      if (!source.path.empty()) programme.inputPaths.push_back(source.path);
    }
    programme.lists.push_back(builder.Finish());
  }

  ClipList& first = programme.lists.front();
  if (options.startFrame >= first.frameCount) {
    throw UsageError("--start: " + std::to_string(options.startFrame) + " is past the last frame of " +
                     first.title + ", which has " + std::to_string(first.frameCount));
  }
  first.startFrame = options.startFrame;
  return programme;
}

Programme LoadClip(const std::string& text, const FormatOptions& format, const std::string& otherwise) {
  const ClipArgument clip = ParseClipArgument(text);
  if (clip.kind == ClipKind::Playlist || clip.range || clip.repeatCount != 1) {
    throw UsageError(text + ": " + otherwise);
  }
  Options options;
  options.clips = {text};
  options.format = format;
  return LoadProgramme(options);
}

}  // namespace rkplay
