#include "tests/host/RkplayTest.h"

namespace {

using Words = std::vector<std::string>;

class RkplayPreview : public RkplayTest {
 protected:
  void ExpectRefused(Words arguments, const std::string& complaint) const {
    SCOPED_TRACE(testing::PrintToString(arguments));
    arguments.insert(arguments.begin(), "preview");
    const Result result = Rkplay(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find(complaint), std::string::npos) << result.errors;
  }
  static bool Tells(const Result& result, const std::string& line) {
    return result.output.find(line) != std::string::npos;
  }
};

const Words kCoding = {"-c:v", "mpeg4", "-c:a", "pcm_s16le", "-ac", "2"};

TEST_F(RkplayPreview, plays_the_ranges_and_counts_their_frames) {
  MakeClip("a.mov", "25", "2", kCoding);
  const Words preview = {"preview", "a.mov", "--trim", "5-15", "--trim", "30-42", "--monitor=virtual"};
  const Result whole = Rkplay(preview);
  EXPECT_EQ(whole.status, 0) << whole.errors;
  EXPECT_TRUE(Tells(whole, "range 5-15  10 frames delivered, 10 in the range")) << whole.output;
  EXPECT_TRUE(Tells(whole, "range 30-42  12 frames delivered")) << whole.output;
  for (const auto& [start, counts] : {std::pair("12", std::pair(3, 12)), {"20", {0, 12}}, {"45", {10, 12}}}) {
    Words late = preview;
    late.insert(late.end(), {"--start", start, "--sound", "none"});
    const Result result = Rkplay(late);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(Tells(result, "5-15  " + std::to_string(counts.first) + " frames")) << result.output;
    EXPECT_TRUE(Tells(result, "30-42  " + std::to_string(counts.second) + " frames")) << result.output;
  }
}

TEST_F(RkplayPreview, sounds_like_the_clip_itself) {
  MakeClip("a.mov", "25", "1.2", kCoding);
  ASSERT_EQ(Rkplay({"a.mov@10-25", "--audio", "reference.wav"}).status, 0);
  // Where the machine was too busy, silence was heard in between: once more then.
  for (int attempt = 0; attempt < 10; ++attempt) {
    const Result result = Rkplay({"preview", "a.mov", "--trim", "10-25", "--sound", "heard.wav"});
    ASSERT_EQ(result.status, 0) << result.errors;
    if (ReadFile("heard.wav") == ReadFile("reference.wav")) return;
  }
  FAIL() << "the preview never sounded like the clip";
}

TEST_F(RkplayPreview, keys_hold_move_repeat_and_end) {
  Process process(
      Command({"preview", "pattern:50", "--loop", "--keys", "--monitor=virtual", "--sound", "none"}));
  ASSERT_TRUE(process.WaitForOutput("begins, "));
  process.Type("\x1b[H\x1b[C");  // an arrow holds
  ASSERT_TRUE(process.WaitForOutput("(1) of 00:00:02:00 (50)"));
  process.Type("?");
  ASSERT_TRUE(process.WaitForOutput("q quit"));
  process.Type("\x1b[F ");  // goes on from the last frame, round the loop
  process.Type("r");
  ASSERT_TRUE(process.WaitForOutput("plays to its end"));
  process.Type("\x1b[F");
  EXPECT_EQ(process.Wait(), 0) << process.Errors();
  Process quitted(Command({"preview", "pattern:50", "--loop", "--keys", "--monitor=virtual"}));
  quitted.Type("\x1bq");  // Escape alone means nothing
  EXPECT_EQ(quitted.Wait(), 0);
}

TEST_F(RkplayPreview, an_interrupt_ends_a_loop_with_the_summary) {
  Process process(Command({"preview", "pattern:3", "--loop", "--monitor=virtual", "--sound", "none"}));
  ASSERT_TRUE(process.WaitForOutput("begins, "));
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait(), 130);
  EXPECT_NE(process.Output().find("range 0-3"), std::string::npos) << process.Output();
}

TEST_F(RkplayPreview, ranges_that_make_no_sense_are_refused_by_name) {
  ExpectRefused({"pattern:50", "--trim", "10"}, "--trim: '10'");
  ExpectRefused({"pattern:50", "--trim", "10-10"}, "--trim: 10-10 holds no frame");
  ExpectRefused({"pattern:50", "--trim", "10-20", "--trim", "15-30"}, "--trim: 15-30 begins before");
  ExpectRefused({"pattern:50", "--trim", "20-30", "--trim", "5-10"}, "--trim: 5-10 begins before");
  ExpectRefused({"pattern:50", "--trim", "40-51"}, "--trim: 40-51 ends past the last of 50");
  ExpectRefused({"pattern:50", "--start", "50"}, "--start: 50 is past the last of 50");
  ExpectRefused({"pattern:50@2-6"}, "pattern:50@2-6: a preview is of one clip");
  ExpectRefused({"pattern:50", "--monitor=none"}, "a preview needs one");
  ExpectRefused({"gone.mov"}, "gone.mov: No such file");
}

}  // namespace
