#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "rkplay/cli/CommandLine.h"
#include "rkplay/cli/Commands.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/files/FrameOutput.h"
#include "rkplay/frame/FrameGrabber.h"

namespace rkplay {
namespace {

constexpr char kDescription[] = "Writes single frames of one clip as PNG pictures.";

constexpr char kFooter[] =
    R"(CLIP is one media file, or pattern:[FRAMES]. A POSITION is a frame number counted from 0, or a timecode
HH:MM:SS:FF, at the clip's frame rate (rounded to the nearest that rkplay plays at), or first or last.

Names of the files:
  %d or %0Nd in FILE is where the frame number goes, with zeros up to N digits. Without it, FILE is the
  name for a single position; for several, -POSITION comes before the extension: still.png becomes
  still-0.png, still-249.png. Files that exist are replaced, each one once its picture is complete.

A frame that is not in the clip, is damaged or cannot be written fails alone: the others are written.

Exit status:
  0    every frame was written
  1    a frame could not be read or written
  2    bad arguments, or a clip that cannot be opened; nothing was written

Examples:
  rkplay frame interview.mp4 last --png still.png
  rkplay frame interview.mp4 first 125 last --png 'still-%05d.png' --size 640x360
)";

// Nothing: the last frame.
using Position = std::optional<FrameName>;

struct FrameOptions {
  std::string clip;
  std::vector<Position> positions;
  std::string pngPath;
  bool force = false;
  FormatOptions format;
};

Position ParsePosition(const std::string& text) {
  if (text == "first") return FrameName();
  if (text == "last") return std::nullopt;
  if (const auto position = FrameName::Parse(text)) return *position;
  throw UsageError("'" + text + "' is not a position: a frame number, a timecode, first or last");
}

std::optional<FrameOptions> ParseArguments(int argumentCount, char** arguments) {
  FrameOptions options;
  options.format.keepsPixelFormat = true;  // no conversion between the clip and the PNG's RGB
  std::vector<std::string> positions;
  CLI::App app(kDescription, "rkplay frame");
  app.get_formatter()->column_width(28);
  app.footer(kFooter);
  app.add_option("CLIP", options.clip, "The clip")->required()->type_name("");
  app.add_option("POSITION", positions, "Frames to write")->required()->type_name("");
  app.add_option("--png", options.pngPath, "The picture to write, or the name to number: see below")
      ->required()
      ->type_name("FILE");
  app.add_flag("--force", options.force,
               "Write pictures that are damaged or missing as well, as they go on air");
  app.add_option_function<std::string>(
         "--size", [&options](const std::string& text) { options.format.size = ParsePictureSize(text); },
         "Picture size, instead of the clip's own")
      ->type_name("WxH");
  if (!ParseCommandLine(app, argumentCount, arguments)) return std::nullopt;
  CheckFileName(app, "--png", options.pngPath, ".png");
  for (const std::string& position : positions) options.positions.push_back(ParsePosition(position));
  return options;
}

// Where a name holds %d or %0Nd.
struct NumberPlace {
  size_t at;
  size_t length;
  size_t digits;  // at least
};

// In the file's own name only.
std::optional<NumberPlace> FindNumberPlace(const std::string& path) {
  const size_t slash = path.rfind('/');
  size_t at = path.find('%', slash == std::string::npos ? 0 : slash);
  for (; at != std::string::npos; at = path.find('%', at + 1)) {
    const char* place = path.c_str() + at;
    if (place[1] == 'd') return NumberPlace{at, 2, 1};
    if (place[1] == '0' && place[2] >= '1' && place[2] <= '9' && place[3] == 'd') {
      return NumberPlace{at, 4, static_cast<size_t>(place[2] - '0')};
    }
  }
  return std::nullopt;
}

std::string NumberedPath(std::string path, UINT number, bool isOneOfSeveral) {
  std::string digits = std::to_string(number);
  if (const auto place = FindNumberPlace(path)) {
    if (digits.size() < place->digits) digits.insert(0, place->digits - digits.size(), '0');
    return path.replace(place->at, place->length, digits);
  }
  if (!isOneOfSeveral) return path;
  std::filesystem::path numbered = path;
  const std::string name = numbered.stem().string() + "-" + digits + numbered.extension().string();
  return numbered.replace_filename(name).string();
}

// A sequence's own pictures are no place for the frames that are taken from it.
void RefusePictureOf(const std::string& clip, const std::string& path) {
  const auto place = FindNumberPlace(clip);
  if (place && path.starts_with(clip.substr(0, place->at)) &&
      path.ends_with(clip.substr(place->at + place->length)))
    throw UsageError(path + ": would overwrite a picture of " + clip);
}

// One frame to write, or why there is none.
struct Task {
  UINT position;
  std::string path;
  std::string refusal;
};

std::vector<Task> MakeTasks(const FrameOptions& options, const Programme& programme) {
  const ClipList& clip = programme.lists.front();
  std::vector<Task> tasks;
  for (const Position& asked : options.positions) {
    const ULONGLONG position =
        asked ? asked->At(programme.format.video.frameRate, "POSITION") : clip.frameCount - 1;
    if (position >= clip.frameCount) {
      tasks.push_back({0, "",
                       clip.title + ": there is no frame " + asked->Text() + ": it has " +
                           std::to_string(clip.frameCount) + ", counted from 0"});
      continue;
    }
    const auto number = static_cast<UINT>(position);
    const std::string path = NumberedPath(options.pngPath, number, options.positions.size() > 1);
    RefuseOverwriting({path}, programme.inputPaths);
    RefusePictureOf(options.clip, path);
    tasks.push_back({number, path, ""});
  }
  return tasks;
}

}  // namespace

int RunFrame(int argumentCount, char** arguments) {
  const auto options = ParseArguments(argumentCount, arguments);
  if (!options) return 0;
  const Programme programme =
      LoadClip(options->clip, options->format, "frames are taken from one clip, whole", kOfflinePatienceMs);
  const std::vector<Task> tasks = MakeTasks(*options, programme);
  FrameGrabber grabber(programme);
  int status = 0;
  for (const Task& task : tasks) {
    std::string error = task.refusal;
    const bool written = error.empty() && grabber.Grab(task.position, task.path, options->force, error);
    if (written) std::printf("frame %u  %s\n", task.position, Printable(task.path).c_str());
    if (!error.empty()) PrintError(error);
    if (!written) status = 1;
  }
  return status;
}

}  // namespace rkplay
