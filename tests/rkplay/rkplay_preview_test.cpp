#include "tests/rkplay/RkplayTest.h"

namespace {

using RkplayPreview = RkplayTest;

const std::string kCoding = "-c:v mpeg4 -c:a pcm_s16le -ac 2";

TEST_F(RkplayPreview, plays_the_ranges_and_counts_their_frames) {
  MakeClip("a.mov", "25", "2", kCoding);
  const struct {
    const char* start;
    int first;
  } runs[] = {{"0", 10}, {"12", 3}, {"20", 0}, {"45", 10}};
  for (const auto& [start, first] : runs) {
    SCOPED_TRACE(start);
    const Result result = Rkplay({"preview", "a.mov", "--trim", "5-15", "--trim", "30-42", "--start", start,
                                  "--monitor=virtual", "--sound", "none"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const std::string counts = "range 5-15  " + std::to_string(first) +
                               " frames delivered, 10 in the range\n"
                               "range 30-42  12 frames delivered, 12 in the range\n";
    EXPECT_NE(result.output.find(counts), std::string::npos) << result.output;
  }
}

TEST_F(RkplayPreview, a_damaged_frame_counts_only_where_its_range_is_played) {
  MakeClip("a.mov", "25", "2", "-c:v png -an");
  std::string bytes = ReadFile("a.mov");
  size_t at = 0;
  for (int picture = 0; picture <= 30; ++picture) at = bytes.find("\x89PNG", at + 1);
  WriteFile("a.mov", bytes.replace(at, 8, 8, '\xff'));
  for (const auto& [range, status] : {std::pair("20-35", 1), {"5-15", 0}, {"31-45", 0}}) {
    const Result result =
        Rkplay({"preview", "a.mov", "--trim", range, "--monitor=virtual", "--sound", "none"});
    EXPECT_EQ(result.status, status) << range << result.errors;
    EXPECT_EQ(result.errors.find("(1 frames went out") != std::string::npos, status == 1) << result.errors;
  }
}

TEST_F(RkplayPreview, sounds_like_the_clip_itself) {
  MakeClip("a.mov", "25", "1.2", kCoding);
  ExpectHeard({"a.mov@10-25"}, {"preview", "a.mov", "--trim", "10-25"}, [](const Result& result) {
    const auto says = [&result](const char* text) { return result.output.find(text) != std::string::npos; };
    return !says(" 0 passed over") || !says(" 0 frames of silence") || says("not heard");
  });
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

TEST_F(RkplayPreview, ranges_that_make_no_sense_are_refused_by_name) {
  ExpectRefused({"preview", "pattern:50", "--trim", "10-10"}, "--trim: the range 10-10 holds no frame");
  ExpectRefused({"preview", "pattern:50", "--trim", "10-20", "--trim", "15-30"},
                "--trim: 15-30 begins before");
  ExpectRefused({"preview", "pattern:50", "--trim", "40-51"}, "--trim: 40-51 ends past the last of 50");
  ExpectRefused({"preview", "pattern:50", "--start", "50"}, "--start: 50 is past the last of 50");
  ExpectRefused({"preview", "pattern:50@2-6"}, "pattern:50@2-6: a preview is of one clip");
  ExpectRefused({"preview", "pattern:50", "--monitor=none"}, "a preview needs one");
}

}  // namespace
