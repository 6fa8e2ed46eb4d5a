#include <gtest/gtest.h>

#include "rkplay/cli/ClipArgument.h"
#include "rkplay/cli/UsageError.h"

using namespace rkplay;

namespace {

ClipArgument Parse(const std::string& text, const std::string& existing = "clip.mp4") {
  return ParseClipArgument(text, [&existing](const std::string& path) { return path == existing; });
}

TEST(ClipArgument, range_and_repeat_count_are_cut_off_the_name) {
  const ClipArgument clip = Parse("dir@x/clip.mp4@10-250*3", "dir@x/clip.mp4");
  EXPECT_EQ(clip.path, "dir@x/clip.mp4");
  ASSERT_TRUE(clip.range);
  EXPECT_EQ(clip.range->in, 10u);
  EXPECT_EQ(clip.range->out, 250u);
  EXPECT_EQ(clip.repeatCount, 3);
  EXPECT_EQ(Parse("clip.mp4*").repeatCount, kRkRepeatEndless);
  EXPECT_EQ(Parse("clip.mp4").repeatCount, 1);
  EXPECT_FALSE(Parse("clip.mp4").range);
  EXPECT_EQ(Parse("show.M3U8*2", "show.M3U8").kind, ClipKind::Playlist);
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
       {"clip.mp4*0", "clip.mp4*-1", "clip.mp4*2147483648", "clip.mp4*x", "clip.mp4@5", "clip.mp4@5-5",
        "clip.mp4@6-5", "clip.mp4@-1-5", "clip.mp4@0-4294967295", "clip.mp4@0-5x", "pattern:0", "pattern:-1",
        "pattern:4294967295", "pattern:1e3", ""}) {
    EXPECT_THROW(Parse(text), UsageError) << text;
  }
}

}  // namespace
