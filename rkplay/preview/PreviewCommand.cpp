#include "rkplay/preview/PreviewCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <optional>

#include "rkplay/cli/MonitorOptions.h"
#include "rkplay/cli/Number.h"
#include "rkplay/cli/PrintError.h"
#include "rkplay/cli/UsageError.h"
#include "rkplay/files/FrameOutput.h"
#include "rkplay/monitor/TerminalKeys.h"
#include "rkplay/play/Statistics.h"
#include "rkplay/preview/Preview.h"

namespace rkplay {
namespace {

constexpr char kFooter[] = R"(The rule is a window where there is a display, else virtual.

CLIP is one media file, or pattern:[FRAMES]. Positions count its frames from 0.

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

// A range before it is known whether the clip has it.
FrameRange ParseTrim(const std::string& text) {
  constexpr UINT kMost = kRkNoPosition - 1;
  const size_t dash = std::min(text.find('-'), text.size());
  const std::string_view all = text;
  const auto in = ParseNumber<UINT>(all.substr(0, dash), 0, kMost);
  const auto out = ParseNumber<UINT>(all.substr(std::min(dash + 1, all.size())), 0, kMost);
  if (!in || !out) throw UsageError("--trim: '" + text + "' is not a range IN-OUT of frames");
  return {*in, *out};
}

void CheckRanges(const std::vector<FrameRange>& ranges, UINT frameCount) {
  UINT end = 0;
  for (const FrameRange& range : ranges) {
    const auto refuse = [&range](const std::string& reason) {
      throw UsageError("--trim: " + std::to_string(range.in) + "-" + std::to_string(range.out) + " " +
                       reason);
    };
    if (range.in >= range.out) refuse("holds no frame: OUT must be greater than IN");
    if (range.out > frameCount) refuse("ends past the last of " + std::to_string(frameCount) + " frames");
    if (range.in < end) refuse("begins before the end of the range that comes before it");
    end = range.out;
  }
}

UINT ParseStart(const std::string& text) {
  if (const auto start = ParseNumber<UINT>(text, 0, kRkNoPosition - 1)) return *start;
  throw UsageError("--start: '" + text + "' is not a frame number");
}

void PrintResult(const PreviewResult& result) {
  std::printf("\n");
  for (const auto& [range, delivered] : result.ranges) {
    std::printf("range %u-%u  %llu frames delivered, %u in the range\n", range.in, range.out, delivered,
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
  app.add_flag("--loop", options.loops, "From the end on to the beginning");
  const MonitorArguments monitor(app);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::Success& request) {
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  for (const std::string& trim : trims) options.ranges.push_back(ParseTrim(trim));
  options.startFrame = ParseStart(start);
  const auto monitorOptions = monitor.Chosen(Window::HasDisplay() ? "window" : "virtual");
  if (!monitorOptions) throw UsageError("--monitor: a preview needs one");

  Programme programme =
      LoadClip(clip, {}, "a preview is of one clip, whole (--trim and --loop choose from it)");
  const UINT frameCount = programme.lists.front().frameCount;
  CheckRanges(options.ranges, frameCount);
  if (options.startFrame >= frameCount) {
    throw UsageError("--start: " + start + " is past the last of " + std::to_string(frameCount) + " frames");
  }
  Options outputs;
  outputs.monitor = monitorOptions;
  RefuseOverwriting(outputs, programme.inputPaths);
  return Play(programme, options, *monitorOptions, keys);
}

}  // namespace rkplay
