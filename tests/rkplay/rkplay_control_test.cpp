#include "tests/rkplay/RkplayTest.h"

namespace {

using RkplayControl = RkplayTest;

TEST_F(RkplayControl, the_statistics_tell_every_list_and_change_over) {
  const Result result = Rkplay({"pattern:30@10-20*2", "pattern:7", "pattern:1*3", "--start", "4", "--size",
                                "64x36", "--rate", "29.97", "--stats", "stats.json", "--log", "log"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_NE(result.output.find("delivered     26 frames"), std::string::npos) << result.output;
  const auto stats = Stats();
  EXPECT_EQ(stats["format"]["frameRate"], "30000/1001");
  EXPECT_EQ(stats["deliveredFrames"], 16 + 7 + 3);
  EXPECT_EQ(stats["lists"][0]["announcedFrames"], 16);
  EXPECT_EQ(stats["lists"][0]["deliveredFrames"], 16);
  EXPECT_EQ(Outcomes(), Words({"played", "played", "played"}));
  EXPECT_NE(ReadFile("log").find("CRkClipOutputChannel"), std::string::npos);
}

TEST_F(RkplayControl, an_interrupt_ends_an_endless_list_with_the_summary_and_whole_files) {
  for (const auto& [signal, status] : {std::pair(SIGINT, 130), {SIGTERM, 143}}) {
    Process process(Command({"pattern:3*", "pattern:5", "--size", "64x36", "--realtime", "--stats",
                             "stats.json", "--video", "out.y4m", "--audio", "out.wav"}));
    ASSERT_TRUE(process.WaitForOutput("list 1/2"));
    process.Signal(signal);
    EXPECT_EQ(process.Wait(), status);
    EXPECT_NE(process.Output().find("worst stop"), std::string::npos);
    EXPECT_EQ(Outcomes(), Words({"stopped", "not played"}));
    const size_t frames = Stats()["deliveredFrames"];
    EXPECT_EQ(Pictures("out.y4m", 64 * 36 * 3 / 2).size(), frames * 64 * 36 * 3 / 2);
    EXPECT_EQ(Sound("out.wav").size(), frames * 1920 * 4);
  }
}

TEST_F(RkplayControl, a_manual_list_waits_for_enter_and_an_endless_one_is_left_by_it) {
  Process process(Command({"pattern:5", "pattern:4*", "pattern:6", "pattern:3*", "--manual", "--realtime",
                           "--size", "64x36", "--stats", "stats.json"}));
  ASSERT_TRUE(process.WaitForOutput("list 1/4  has ended, Enter takes the next"));
  process.Type("\n");
  ASSERT_TRUE(process.WaitForOutput("list 2/4"));
  process.Type("\n");
  ASSERT_TRUE(process.WaitForOutput("list 3/4  has ended"));
  process.Type("\n\n");  // the second leaves the last list
  EXPECT_EQ(process.Wait(), 0);
  EXPECT_EQ(Outcomes(), Words({"played", "taken", "played", "taken"}));
}

TEST_F(RkplayControl, enter_typed_ahead_never_cuts_a_list_short) {
  Process process(Command(
      {"pattern:40", "pattern:60", "pattern:50", "--manual", "--size", "64x36", "--stats", "stats.json"}));
  process.Type("\n\n\n");
  EXPECT_EQ(process.Wait(), 0);
  EXPECT_EQ(Outcomes(), Words({"played", "played", "played"}));
}

TEST_F(RkplayControl, a_manual_list_that_nobody_can_take_any_more_is_a_failure) {
  ExpectFails({"pattern:5", "pattern:5", "--manual", "--stats", "stats.json"}, "standard input has ended");
  EXPECT_EQ(Outcomes(), Words({"played", "not played"}));
}

TEST_F(RkplayControl, a_full_disk_ends_the_run_and_is_named) {
  for (const char* option : {"--video", "--audio", "--stats"})
    ExpectFails({"pattern:60", option, "/dev/full"}, "/dev/full: cannot be written: No space left");
}

}  // namespace
