#include "tests/rkplay/RkplayTest.h"

namespace {

using RkplayMonitor = RkplayTest;

TEST_F(RkplayMonitor, what_is_heard_equals_what_goes_out_over_a_change_of_list_and_however_short) {
  MakeClip("a.mov", "25", "0.8", "-c:v mpeg4 -c:a pcm_s16le -ac 2");
  MakeClip("b.mov", "25", "0.6", "-c:v mpeg4 -c:a pcm_s16le -ac 2");
  // The others are shorter than the device wants to begin.
  for (const Words& clips : {Words{"pattern:1"}, {"pattern:3"}, {"a.mov", "b.mov*2"}}) {
    Words command = clips;
    command.insert(command.end(), {"--monitor=virtual", "--stats", "stats.json"});
    ExpectHeard(clips, command, [this](const Result&) {
      const auto seen = Stats()["monitor"];
      return seen["silenceFrames"] != 0 || seen["passedOver"] != 0 || seen["droppedSoundSamples"] != 0;
    });
  }
  const auto seen = Stats()["monitor"];
  EXPECT_EQ(seen["shown"].get<int>() + seen["passedOver"].get<int>(), 20 + 15 + 15);
  EXPECT_TRUE(seen["medianOffsetMs"].is_number());
}

TEST_F(RkplayMonitor, a_wait_for_the_next_list_leaves_sound_and_picture_in_step) {
  for (const char* sound : {"virtual", "none"}) {
    int late = 40;  // a busy machine costs frames; a wait that is not made up for costs those of every run
    for (int run = 0; run < 10 && late >= 15; ++run) {
      Process process(Command({"pattern:20", "pattern:20", "--manual", "--monitor=virtual", "--sound", sound,
                               "--size", "64x36", "--stats", "stats.json"}));
      ASSERT_TRUE(process.WaitForOutput("has ended"));  // and the last picture stands
      process.Type("\n");
      EXPECT_EQ(process.Wait(), 0);
      const auto seen = Stats()["monitor"];
      EXPECT_EQ(seen["shown"].get<int>() + seen["passedOver"].get<int>(), 40);
      late = std::max(seen["passedOver"].get<int>(), seen["silenceFrames"].get<int>());
    }
    EXPECT_LT(late, 15);
  }
}

TEST_F(RkplayMonitor, keys_hold_move_take_and_end) {
  Process process(Command({"pattern:50*", "pattern:30*", "--manual", "--monitor=virtual", "--sound", "none",
                           "--size", "64x36", "--stats", "stats.json"}));
  ASSERT_TRUE(process.WaitForOutput("list 1/2"));
  process.Type(" ");
  ASSERT_TRUE(process.WaitForOutput("paused"));
  const auto holdsOn = [&](const char* keys, const std::string& frame) {
    process.Type(keys);
    return process.WaitForOutput("(" + frame + ") of 00:00:02:00 (50)") && process.WaitForOutput("paused");
  };
  EXPECT_TRUE(holdsOn("\x1b[F", "49"));                       // the last frame
  EXPECT_TRUE(holdsOn("\x1b[C\x1b[D", "48"));                 // not past it
  EXPECT_TRUE(holdsOn("\x1b[H\x1b[6~\x1b[6~\x1b[5~", "24"));  // the last of a row is what counts
  EXPECT_TRUE(holdsOn("\x1b[5~", "0"));
  ASSERT_TRUE(process.TypeUntilOutput("t", "list 2/2"));  // the next list may not be cued yet
  process.Type("r?");
  EXPECT_TRUE(process.WaitForOutput("plays to its end"));
  EXPECT_TRUE(process.WaitForOutput("space pause"));
  EXPECT_EQ(process.Wait(), 0);
  EXPECT_EQ(Outcomes(), Words({"taken", "played"}));
  EXPECT_EQ(Stats()["monitor"]["passedOver"], 0);
}

TEST_F(RkplayMonitor, a_window_shows_every_kind_of_picture) {
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  for (const std::string coding : {"yuv420p", "yuv422p", "yuv444p"}) {
    MakeClip("a.mkv", "25", "0.4", "-an -c:v ffv1 -pix_fmt " + coding);
    const Result result = Rkplay({"a.mkv", "--pixel-format", coding, "--monitor", "--stats", "stats.json"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const auto seen = Stats()["monitor"];
    EXPECT_EQ(seen["shown"].get<int>() + seen["unseen"].get<int>() + seen["passedOver"].get<int>(), 10);
  }
}

TEST_F(RkplayMonitor, a_lost_window_comes_back_and_what_it_missed_is_not_counted_as_shown) {
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  Process process(Command({"pattern:live", "--monitor", "--sound", "none", "--size", "64x36", "--manual",
                           "--stats", "stats.json"}));
  ASSERT_TRUE(process.WaitForOutput("begins"));
  ASSERT_TRUE(process.KillChildren());
  ASSERT_TRUE(process.WaitForOutput("the display is lost"));
  ASSERT_TRUE(process.WaitForOutput("the display is back"));
  process.Type("q");
  EXPECT_EQ(process.Wait(), 0);
  const auto stats = Stats();
  const auto seen = stats["monitor"];
  EXPECT_GE(seen["displayLosses"], 1);
  EXPECT_GE(seen["unseen"], 1);
  EXPECT_EQ(seen["shown"].get<int>() + seen["unseen"].get<int>() + seen["passedOver"].get<int>(),
            stats["deliveredFrames"].get<int>());
}

TEST_F(RkplayMonitor, what_cannot_be_watched_or_heard_is_refused) {
  for (const char* display : {"DISPLAY", "WAYLAND_DISPLAY", "SDL_VIDEODRIVER"}) unsetenv(display);
  ExpectRefused({"pattern:5", "--monitor"}, "there is no display");
  setenv("DISPLAY", ":7531", 1);  // nobody serves it
  // SDL gives up a message bus that it has reached without freeing what it read.
  for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
    setenv(bus, "unix:path=none", 1);
  const Result dead = Rkplay({"pattern:5", "--monitor"});
  EXPECT_EQ(dead.status, 2);
  EXPECT_NE(dead.errors.find("no window can be opened"), std::string::npos) << dead.errors;
  unsetenv("DISPLAY");
  ExpectRefused({"pattern:5", "--sound", "virtual"}, "there is no monitor");
  ExpectRefused({"pattern:5", "--monitor=virtual", "--sound", "loud"}, "'loud' is not system");
  ExpectRefused({"pattern:5", "--monitor=virtual", "--sound", "gone/out.wav"},
                "gone/out.wav: cannot be written");
}

}  // namespace
