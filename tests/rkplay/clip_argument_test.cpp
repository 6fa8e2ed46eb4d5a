#include <gtest/gtest.h>

#include "contracts/RkMediaRecords.h"
#include "rkplay/cli/ClipArgument.h"
#include "rkplay/cli/Messages.h"

using namespace rkplay;

namespace {

ClipArgument Parse(const std::string& text, const std::string& existing = "clip.mp4") {
  return ParseClipArgument(text, [&existing](const std::string& path) { return path == existing; });
}

TEST(ClipArgument, an_existing_file_keeps_the_marks_in_its_name) {
  EXPECT_EQ(Parse("a@1-2*3", "a@1-2*3").path, "a@1-2*3");
  const ClipArgument repeated = Parse("a@1-2*3", "a@1-2");
  EXPECT_EQ(repeated.path, "a@1-2");
  EXPECT_FALSE(repeated.range);
  EXPECT_EQ(repeated.repeatCount, 3);
}

TEST(ClipArgument, numbers_that_overflow_or_make_no_sense_are_refused) {
  for (const char* text :
       {"clip.mp4*0", "clip.mp4*-1", "clip.mp4*2147483648", "clip.mp4*x", "clip.mp4@5", "clip.mp4@-1-5",
        "clip.mp4@0-99999999999999999999", "clip.mp4@0-5x", "clip.mp4@0-0:0:1:0", "pattern:0", "pattern:-1",
        "pattern:4294967295", "pattern:1e3", ""}) {
    EXPECT_THROW(Parse(text), UsageError) << text;
  }
}

TEST(ClipArgument, a_range_names_frames_only_at_a_rate_that_has_them) {
  const auto range = RangeName::Parse("10-00:00:01:00");
  ASSERT_TRUE(range);
  EXPECT_EQ(range->At(RkFrameRate_25, "").out, 25u);
  EXPECT_EQ(range->At(RkFrameRate_60, "").out, 60u);
  const auto dropFrame = RangeName::Parse("00:00:59;29-00:01:00;02");
  ASSERT_TRUE(dropFrame);
  EXPECT_EQ(dropFrame->At(RkFrameRate_29_97, "").in, 1799u);
  EXPECT_EQ(dropFrame->At(RkFrameRate_29_97, "").out, 1800u);
  EXPECT_THROW(dropFrame->At(RkFrameRate_30, ""), UsageError);
  for (const char* empty : {"5-5", "6-5", "00:00:01:00-25"}) {
    EXPECT_THROW(RangeName::Parse(empty)->At(RkFrameRate_25, ""), UsageError) << empty;
  }
}

}  // namespace
