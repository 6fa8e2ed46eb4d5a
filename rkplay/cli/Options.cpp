#include "rkplay/cli/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "rkplay/cli/CommandLine.h"
#include "rkplay/cli/FrameRate.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/monitor/Window.h"

namespace rkplay {
namespace {

constexpr int kMaximumChannels = 16;
constexpr DWORD kMinimumAudioRate = 8000;
constexpr DWORD kMaximumAudioRate = 192000;

constexpr char kDescription[] =
    "Plays clip lists through an output channel, one after the other without a gap.";

constexpr char kClipHelp[] = "A clip list, NAME[@IN-OUT][*N]: see below";

constexpr char kMonitorRule[] =
    "The rule is a window where there is a display and no pictures or sound are written, else none.\n\n";

constexpr char kFooter[] =
    R"(rkplay preview plays one clip, rkplay frame writes single frames of one: each has a --help of its own.

Clip lists, NAME[@IN-OUT][*N]:
  NAME      a media file; a still (PNG, JPEG, TIFF...) is shown for 10 seconds, or as long as its
            range says: slate.png@0-250; sound without pictures has its cover or black;
            numbered pictures, frame_%04d.png: one for each frame, whatever the frame rate;
            pattern:[FRAMES], colour bars and a tone (250 frames when no count is given);
            or an .m3u or .m3u8 playlist, whose clips play as one list: a file or pattern:[FRAMES]
            a line, relative to the playlist's folder, # begins a comment;
            an address, as it is: http://... or https://...
  @IN-OUT   only the frames from IN up to, but not with, OUT, counted from 0 at the output's frame
            rate; on a playlist over all its clips
  *N        the list N times; * alone without end
An existing file whose own name has an @ or * in it is that file.

Every clip is examined before anything goes on air, and the next list is always cued while one plays.
What is not given of the output format comes from the clips: size and frame rate from the first with
moving pictures (else from the first still, at 25), sound from the first with sound. Pictures are 4:2:0 in limited range, whatever the clips are;
--pixel-format chooses another. Another --size than the first clip's has square pixels; 720x576, 720x480,
704x576 and 704x480 are 4:3 or 16:9, whichever is nearer to that clip.

With --manual, Enter takes the next list once one has ended, and leaves an endless list at once. After
the last list there is nothing to take: it ends by itself.

Keys, in the window and on a terminal (through a pipe with --keys or --manual):
  space            pause, and go on
  left, right      pause, one frame back or forward
  page up, down    one second back or forward
  home, end        first frame, last frame
  t                the next list at once
  r                repeat the list on air, on and off
  q                end
  ?                this help

Exit status:
  0    every list was played whole, or was left by a key
  1    something could not be played to its end, or an output file could not be written
  2    bad arguments, or a clip or output file that cannot be opened; nothing was played
  130  stopped by Ctrl-C (143: by SIGTERM), after the summary

Examples:
  rkplay opener.mp4 news.mov closer.mp4 --realtime
  rkplay --monitor=virtual --sound heard.wav opener.mp4 news.mov
  rkplay 'clip.mp4@50-100*3' pattern:100 --video out.y4m --audio out.wav
  rkplay 'pattern:*' show.m3u --manual --rate 29.97 --size 1280x720
)";

template <class Value>
Value Require(const std::optional<Value>& value, const std::string& complaint) {
  if (value) return *value;
  throw UsageError(complaint);
}

template <class Whole>
Whole ParseCount(const char* option, const std::string& text, Whole minimum, Whole maximum) {
  return Require(ParseNumber<Whole>(text, minimum, maximum),
                 std::string(option) + ": '" + text + "' is not a number from " + std::to_string(minimum) +
                     " to " + std::to_string(maximum));
}

// The place of the text among the choices, which are in the order of their values.
int ParseChoice(const std::string& option, const std::string& text, const std::vector<std::string>& choices) {
  const auto found = std::find(choices.begin(), choices.end(), text);
  if (found != choices.end()) return static_cast<int>(found - choices.begin());
  std::string names;
  for (const std::string& choice : choices) names += (names.empty() ? "" : ", ") + choice;
  throw UsageError(option + ": '" + text + "' is none of " + names);
}

void AddFormatOptions(CLI::App& app, FormatOptions& format) {
  const auto add = [&app](const char* name, const char* shape, const char* help, auto parse) {
    app.add_option_function<std::string>(name, parse, help)->type_name(shape)->group("Output format");
  };
  add("--size", "WxH", "Picture size",
      [&format](const std::string& text) { format.size = ParsePictureSize(text); });
  add("--rate", "RATE", "Frame rate: 23.976, 24, 25, 29.97, 30, 50, 59.94, 60, or as a fraction",
      [&format](const std::string& text) {
        format.frameRate =
            Require(ParseFrameRate(text), "--rate: '" + text + "' is not one of " + FrameRateNames());
      });
  add("--pixel-format", "NAME",
      "yuv420p (the default), yuv422p or yuv444p; in full range yuvj420p, yuvj422p or yuvj444p",
      [&format](const std::string& text) {
        const int choice = ParseChoice("--pixel-format", text,
                                       {"yuv420p", "yuv422p", "yuv444p", "yuvj420p", "yuvj422p", "yuvj444p"});
        format.pixelFormat = choice % 3;
        format.colorRange = choice / 3;
      });
  add("--fit", "HOW", "Pictures of another shape: bars (around them), fill (cropped) or stretch",
      [&format](const std::string& text) {
        format.fit = ParseChoice("--fit", text, {"bars", "fill", "stretch"});
      });
  add("--deinterlace", "WHEN", "auto (what is marked as interlaced), off or on",
      [&format](const std::string& text) {
        format.deinterlace = ParseChoice("--deinterlace", text, {"auto", "off", "on"});
      });
  add("--audio-tracks", "WHICH", "Sound tracks of each file: all, numbers as in 1+2, or a language tag (eng)",
      [&format](const std::string& text) { format.audioTracks = text; });
  add("--audio-rate", "HZ", "Samples per second", [&format](const std::string& text) {
    format.audioRate = ParseCount<DWORD>("--audio-rate", text, kMinimumAudioRate, kMaximumAudioRate);
  });
  add("--audio-channels", "N", "Audio channels", [&format](const std::string& text) {
    format.audioChannels = ParseCount<int>("--audio-channels", text, 1, kMaximumChannels);
  });
}

void AddPlayOptions(CLI::App& app, Options& options) {
  const char* group = "Playing";
  app.add_option_function<std::string>(
         "--start",
         [&options](const std::string& text) {
           options.startFrame = Require(FrameName::Parse(text),
                                        "--start: '" + text + "' is neither a frame number nor a timecode");
         },
         "Frame of the first list to begin with")
      ->type_name("FRAME")
      ->group(group);
  app.add_flag("--allow-urls", options.format.allowUrls, "Open the addresses that playlists name")
      ->group(group);
  app.add_flag("--hold-picture", options.format.holdPicture,
               "Play sound that is longer than its pictures under the last one, instead of cutting it")
      ->group(group);
  app.add_flag("--skip-missing", options.format.skipMissing,
               "Leave out clips that cannot be opened, by name, instead of refusing to play")
      ->group(group);
  app.add_flag("--realtime", options.realtime, "Pace by the frame rate instead of as fast as it goes")
      ->group(group);
  app.add_flag("--keys", options.keys, "Read keys from the standard input, also where that is no terminal")
      ->group(group);
  app.add_flag("--manual", options.manual, "At the end of a list wait for Enter before the next")
      ->group(group);
}

void AddFileOptions(CLI::App& app, FileOptions& files) {
  const auto add = [&app](const char* name, std::string& path, const char* help) {
    app.add_option(name, path, help)->type_name("FILE")->group("Files to write");
  };
  add("--video", files.videoPath, "Pictures that went on air, YUV4MPEG2 (.y4m)");
  add("--audio", files.audioPath, "Sound that went on air (.wav)");
  add("--log", files.logPath, "Diagnostic lines of the engine, appended");
  add("--stats", files.statsPath, "The closing summary as JSON (.json)");
}

// Shows the optional value of --monitor as it is typed.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
    return option->check_lname("monitor") ? "--monitor[=KIND]"
                                          : CLI::Formatter::make_option_name(option, isPositional);
  }
};

}  // namespace

std::optional<Options> ParseOptions(int argumentCount, char** arguments) {
  Options options;
  CLI::App app(kDescription, "rkplay");
  app.formatter(std::make_shared<HelpFormatter>());
  app.get_formatter()->column_width(28);
  app.footer(std::string(kMonitorHelp) + kMonitorRule + kFooter);
  app.set_version_flag("--version", "rkplay " RKPLAY_VERSION);
  app.add_option("CLIP", options.clips, kClipHelp)->required()->type_name("");
  AddFormatOptions(app, options.format);
  AddPlayOptions(app, options);
  const MonitorArguments monitor(app);
  AddFileOptions(app, options.files);
  if (!ParseCommandLine(app, argumentCount, arguments)) return std::nullopt;
  CheckFileName(app, "--video", options.files.videoPath, ".y4m");
  CheckFileName(app, "--audio", options.files.audioPath, ".wav");
  CheckFileName(app, "--log", options.files.logPath, "");
  CheckFileName(app, "--stats", options.files.statsPath, ".json");
  const bool writesFiles = !options.files.videoPath.empty() || !options.files.audioPath.empty();
  options.monitor = monitor.Chosen(Window::HasDisplay() && !writesFiles ? "window" : "none");
  return options;
}

}  // namespace rkplay
