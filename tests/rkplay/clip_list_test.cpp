#include <gtest/gtest.h>

#include "rkplay/clips/ClipList.h"

using namespace rkplay;

namespace {

// Ten frames: one element of four, then one of six whose frames 0 and 5 (positions 4 and 9) are bad.
ClipList DamagedList() {
  ClipList list;
  list.frameCount = 10;
  list.files.push_back({"good", 0, 4, CRkRef<ReadErrors>::Adopt(new ReadErrors)});
  list.files.push_back({"bad", 4, 6, CRkRef<ReadErrors>::Adopt(new ReadErrors)});
  for (const UINT offset : {0u, 5u, 0u}) list.files[1].errors->OnFrameSubstituted(offset, "broken");
  return list;
}

TEST(ClipList, read_errors_count_as_often_as_their_frames_went_on_air) {
  ClipList list = DamagedList();
  EXPECT_EQ(list.CountReadErrors({{0, 4}}).frames, 0u);
  EXPECT_EQ(list.CountReadErrors({{0, 5}}).frames, 1u);
  EXPECT_EQ(list.CountReadErrors({{0, 10}}).frames, 2u);
  EXPECT_EQ(list.CountReadErrors({{0, 24}}).frames, 4u);
  EXPECT_EQ(list.CountReadErrors({{0, 25}}).frames, 5u);
  EXPECT_EQ(list.CountReadErrors({{0, 5}}).first, "bad: broken");
  EXPECT_EQ(list.CountReadErrors({{4, 1}, {3, 2}, {9, 1}, {5, 4}}).frames, 3u);  // after jumps
}

TEST(ClipList, a_late_start_shortens_only_the_first_pass) {
  ClipList list = DamagedList();
  list.startFrame = 5;
  list.repeatCount = 2;
  EXPECT_EQ(list.AnnouncedFrames(), 15u);
  EXPECT_EQ(list.PositionAfter({5, 0}), 5u);
  EXPECT_EQ(list.PositionAfter({5, 5}), 0u);
  EXPECT_EQ(list.CountReadErrors({{5, 4}}).frames, 0u);
  EXPECT_EQ(list.CountReadErrors({{5, 15}}).frames, 3u);  // 9, then 4 and 9
  list.repeatCount = 2'000'000'000;
  EXPECT_EQ(list.AnnouncedFrames(), 19'999'999'995u);
}

}  // namespace
