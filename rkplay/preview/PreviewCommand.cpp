#include <CLI/CLI.hpp>
#include <cstdio>
#include <optional>

#include "rkplay/cli/CommandLine.h"
#include "rkplay/cli/Commands.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/cli/MonitorOptions.h"
#include "rkplay/files/FrameOutput.h"
#include "rkplay/monitor/TerminalKeys.h"
#include "rkplay/play/Statistics.h"
#include "rkplay/preview/Preview.h"

namespace rkplay {
namespace {

constexpr char kFooter[] = R"(The rule is a window where there is a display, else virtual.

CLIP is one media file, or pattern:[FRAMES]. Frames are numbers counted from 0, or timecodes HH:MM:SS:FF.

Keys, in the window and on a terminal: space pauses and goes on, left and right hold on single frames, page
up and down move by a second, home and end to the first and last frame, r repeats, q ends, ? shows them.

Exit status:
  0    played to its end, or ended by a key
  1    frames could not be read, or a file could not be written
  2    bad arguments, or a clip that cannot be opened; nothing was played
  130  stopped by Ctrl-C (143: by SIGTERM), after the summary

Examples:
  rkplay preview interview.mp4 --start 100
  rkplay preview interview.mp4 --trim 10-60 --trim 200-250 --loop
)";

std::vector<RangeName> ParseTrims(const std::vector<std::string>& texts) {
  std::vector<RangeName> ranges;
  for (const std::string& text : texts) {
    const auto range = RangeName::Parse(text);
    if (!range) throw UsageError("--trim: '" + text + "' is not a range IN-OUT of frames");
    ranges.push_back(*range);
  }
  return ranges;
}

// Ascending, within the clip.
std::vector<FrameRange> CheckRanges(const std::vector<RangeName>& names, const Programme& programme) {
  const UINT frameCount = programme.lists.front().frameCount;
  std::vector<FrameRange> ranges;
  ULONGLONG end = 0;
  for (const RangeName& name : names) {
    const FrameRange range = name.At(programme.format.video.frameRate, "--trim");
    const auto refuse = [&name](const std::string& reason) {
      throw UsageError("--trim: " + name.Text() + " " + reason);
    };
    if (range.out > frameCount) refuse("ends past the last of " + std::to_string(frameCount) + " frames");
    if (range.in < end) refuse("begins before the end of the range that comes before it");
    end = range.out;
    ranges.push_back(range);
  }
  return ranges;
}

UINT CheckStart(const std::string& text, const Programme& programme) {
  const UINT frameCount = programme.lists.front().frameCount;
  const auto name = FrameName::Parse(text);
  if (!name) throw UsageError("--start: '" + text + "' is neither a frame number nor a timecode");
  const ULONGLONG start = name->At(programme.format.video.frameRate, "--start");
  if (start < frameCount) return static_cast<UINT>(start);
  throw UsageError("--start: " + text + " is past the last of " + std::to_string(frameCount) + " frames");
}

void PrintResult(const PreviewResult& result) {
  std::printf("\n");
  for (const auto& [range, delivered] : result.ranges) {
    std::printf("range %llu-%llu  %llu frames delivered, %llu in the range\n", range.in, range.out, delivered,
                range.out - range.in);
  }
  PrintSeen(result.seen, stdout);
  std::fflush(stdout);
  for (const std::string& error : result.errors) PrintError(error);
}

int Play(Programme& programme, const PreviewOptions& options, const MonitorOptions& monitorOptions,
         bool readsKeys) {
  StopSignals stopSignals;
  KeyQueue keys;
  Monitor monitor(monitorOptions, programme.format, keys);
  if (const auto mute = monitor.WhyMute()) PrintError(*mute);
  Preview preview(programme, options, keys, stopSignals, monitor);
  std::optional<TerminalKeys> terminal;
  if (readsKeys || TerminalKeys::IsTerminal()) terminal.emplace(keys);
  const PreviewResult result = preview.Run();
  terminal.reset();
  PrintResult(result);
  return result.ExitCode();
}

}  // namespace

int RunPreview(int argumentCount, char** arguments) {
  CLI::App app("Plays one clip, whole or only ranges of it, into the monitor.", "rkplay preview");
  std::string clip;
  std::vector<std::string> trims;
  std::string start = "0";
  PreviewOptions options;
  app.get_formatter()->column_width(28);
  app.footer(std::string(kMonitorHelp) + kFooter);
  app.add_option("CLIP", clip, "The clip")->required()->type_name("");
  app.add_option("--trim", trims, "Only frames IN to OUT-1; may be given again, in order")
      ->type_name("IN-OUT")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("--start", start, "Frame to begin with; in a gap between ranges, the next range")
      ->type_name("FRAME");
  bool keys = false;
  app.add_flag("--keys", keys, "Read keys from the standard input, also where that is no terminal");
  app.add_flag("--loop", options.loops, "Play it again from the beginning each time it ends");
  const MonitorArguments monitor(app);
  if (!ParseCommandLine(app, argumentCount, arguments)) return 0;
  const std::vector<RangeName> ranges = ParseTrims(trims);
  const auto monitorOptions = monitor.Chosen(Window::HasDisplay() ? "window" : "virtual");
  if (!monitorOptions) throw UsageError("--monitor: a preview needs one");

  Programme programme =
      LoadClip(clip, {}, "a preview is of one clip, whole (--trim and --loop choose from it)",
               kOnAirPatienceMs);  // the player waits less for a hanging clip than an offline run does
  options.ranges = CheckRanges(ranges, programme);
  options.startFrame = CheckStart(start, programme);
  RefuseOverwriting({monitorOptions->soundPath}, programme.inputPaths);
  return Play(programme, options, *monitorOptions, keys);
}

}  // namespace rkplay
