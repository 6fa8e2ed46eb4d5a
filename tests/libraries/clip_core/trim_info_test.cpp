#include "base/CRkClipPresentation.h"
#include "tests/libraries/clip_core/ClipCoreTest.h"

namespace {

std::vector<ULONGLONG> EndsOf(const Trim& trim) {
  Ranges ranges;
  trim->GetTrimInOuts(ranges);
  std::vector<ULONGLONG> ends;
  for (const auto& range : ranges) ends.insert(ends.end(), {range.in, range.out});
  return ends;
}
using Values = std::vector<ULONGLONG>;

std::vector<UINT> FramesOf(const CRkClipPresentation& presentation) {
  std::vector<UINT> frames;
  for (SRkPresentedFrame frame; presentation.FrameAt(static_cast<UINT>(frames.size()), &frame);)
    frames.push_back(frame.source);
  EXPECT_EQ(frames.size(), presentation.PresentedCount());
  return frames;
}
using Frames = std::vector<UINT>;

// A host's own trim information, whose ranges nobody has checked.
struct CForeignTrim final : CFake<IRkClipTrimInfo> {
  explicit CForeignTrim(const Ranges& given) : ranges(given) {}
  IRkClipTrimInfo* Clone() override { return nullptr; }
  void CopyFrom(IRkClipTrimInfo*) override {}
  void GetTrimInOuts(Ranges& out) override {
    if (onRead) onRead();
    out = ranges;
  }
  const Ranges ranges;
  std::function<void()> onRead;
};

TEST(trim_info, refuses_ranges_that_overlap_descend_or_run_backwards) {
  for (const Ranges& ranges : {Ranges{{0, 5}, {4, 8}}, Ranges{{6, 8}, {0, 2}}, Ranges{{5, 4}}})
    EXPECT_EQ(RkCreateClipTrimInfo(ranges, Trim().Out()), 0);
  EXPECT_EQ(EndsOf(MakeTrim({{0, 4}, {4, 4}, {4, 9}})), (Values{0, 4, 4, 4, 4, 9}));
  EXPECT_TRUE(EndsOf(MakeTrim({})).empty());
}

TEST(trim_info, copies_share_nothing_and_bad_sources_change_nothing) {
  const Trim original = MakeTrim({{1, 2}});
  const Trim clone = Trim::Adopt(original->Clone());
  original->CopyFrom(MakeTrim({{3, 4}, {5, 6}}).Get());
  EXPECT_EQ(EndsOf(original), (Values{3, 4, 5, 6}));
  clone->CopyFrom(clone.Get());
  clone->CopyFrom(nullptr);
  CForeignTrim backwards({{9, 3}});
  backwards.onRead = [&] { std::thread([&] { EXPECT_EQ(EndsOf(clone), (Values{1, 2})); }).join(); };
  clone->CopyFrom(&backwards);
  EXPECT_EQ(EndsOf(clone), (Values{1, 2}));
}

TEST(clip_presentation, presents_only_the_frames_inside_the_ranges_and_none_twice) {
  CForeignTrim overlapping({{0, 3}, {2, 5}, {7, 6}, {1, 2}});
  CRkClipPresentation presentation(8);
  const Trim trim = MakeTrim({{0, 0}, {1, 3}, {3, 3}, {5, 100}, {0x100000000u, 0x100000005u}});
  presentation.SetTrimInfo(trim.Get());
  trim->CopyFrom(MakeTrim({{0, 1}}).Get());  // the ranges were copied
  EXPECT_EQ(FramesOf(presentation), (Frames{1, 2, 5, 6, 7}));
  presentation.SetTrimInfo(&overlapping);
  EXPECT_EQ(FramesOf(presentation), (Frames{0, 1, 2, 3, 4}));
  presentation.SetTrimInfo(MakeTrim({{8, 20}}).Get());
  EXPECT_TRUE(FramesOf(presentation).empty());
  for (const Trim& none : {MakeTrim({}), Trim()}) {
    presentation.SetTrimInfo(none.Get());
    EXPECT_EQ(FramesOf(presentation), (Frames{0, 1, 2, 3, 4, 5, 6, 7}));
    presentation.SetTrimInfo(trim.Get());
  }
}

}  // namespace
