#include <gtest/gtest.h>

#include "base/CRkClipPresentation.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkClipCore.h"

namespace {

using Ranges = std::vector<IRkClipTrimInfo::SRkTrimInOut>;
using Trim = CRkRef<IRkClipTrimInfo>;

Trim MakeTrim(const Ranges& ranges) {
  Trim trim;
  EXPECT_EQ(RkCreateClipTrimInfo(ranges, trim.Out()), 1);
  return trim;
}

std::vector<ULONGLONG> EndsOf(const Trim& trim) {
  Ranges ranges;
  trim->GetTrimInOuts(ranges);
  std::vector<ULONGLONG> ends;
  for (const auto& range : ranges) ends.insert(ends.end(), {range.in, range.out});
  return ends;
}

std::vector<UINT> FramesOf(const CRkClipPresentation& presentation) {
  std::vector<UINT> frames(presentation.PresentedCount());
  SRkPresentedFrame frame;
  for (UINT offset = 0; offset < frames.size(); ++offset) {
    EXPECT_TRUE(presentation.FrameAt(offset, &frame));
    frames[offset] = frame.source;
  }
  EXPECT_FALSE(presentation.FrameAt(presentation.PresentedCount(), &frame));
  return frames;
}

// A host's own trim information, with whatever ranges it likes.
struct CForeignTrim final : CRkUnknown<IRkClipTrimInfo> {
  explicit CForeignTrim(const Ranges& given) : ranges(given) {}
  IRkClipTrimInfo* Clone() override { return nullptr; }
  void CopyFrom(IRkClipTrimInfo*) override {}
  void GetTrimInOuts(Ranges& out) override { out = ranges; }
  Ranges ranges;
};

CRkRef<CForeignTrim> MakeForeignTrim(const Ranges& ranges) {
  return CRkRef<CForeignTrim>::Adopt(new CForeignTrim(ranges));
}

TEST(TrimInfo, refuses_ranges_that_overlap_descend_or_run_backwards) {
  Trim trim;
  for (const Ranges& ranges : {Ranges{{0, 5}, {4, 8}}, Ranges{{6, 8}, {0, 2}}, Ranges{{5, 4}}})
    EXPECT_EQ(RkCreateClipTrimInfo(ranges, trim.Out()), 0);
  EXPECT_EQ(EndsOf(MakeTrim({{0, 4}, {4, 4}, {4, 9}})), (std::vector<ULONGLONG>{0, 4, 4, 4, 4, 9}));
  EXPECT_TRUE(EndsOf(MakeTrim({})).empty());
}

TEST(TrimInfo, copies_share_nothing) {
  const Trim original = MakeTrim({{1, 2}});
  const Trim clone = Trim::Adopt(original->Clone());
  original->CopyFrom(MakeTrim({{3, 4}, {5, 6}}).Get());
  EXPECT_EQ(EndsOf(original), (std::vector<ULONGLONG>{3, 4, 5, 6}));
  EXPECT_EQ(EndsOf(clone), (std::vector<ULONGLONG>{1, 2}));

  clone->CopyFrom(clone.Get());
  clone->CopyFrom(nullptr);
  clone->CopyFrom(MakeForeignTrim({{9, 3}}).Get());
  EXPECT_EQ(EndsOf(clone), (std::vector<ULONGLONG>{1, 2}));
}

TEST(ClipPresentation, shows_only_what_lies_inside_the_ranges) {
  CRkClipPresentation presentation(8);
  EXPECT_EQ(FramesOf(presentation), (std::vector<UINT>{0, 1, 2, 3, 4, 5, 6, 7}));
  const Trim trim = MakeTrim({{0, 0}, {1, 3}, {3, 3}, {5, 100}, {0x100000000u, 0x100000005u}});
  presentation.SetTrimInfo(trim.Get());
  EXPECT_EQ(FramesOf(presentation), (std::vector<UINT>{1, 2, 5, 6, 7}));
  // What is set is what the ranges were then.
  trim->CopyFrom(MakeTrim({{0, 1}}).Get());
  EXPECT_EQ(presentation.PresentedCount(), 5u);

  presentation.SetTrimInfo(MakeTrim({{8, 20}}).Get());
  EXPECT_TRUE(FramesOf(presentation).empty());

  // A host's own ranges may overlap; no frame is shown twice.
  presentation.SetTrimInfo(MakeForeignTrim({{0, 3}, {2, 5}, {7, 6}, {1, 2}}).Get());
  EXPECT_EQ(FramesOf(presentation), (std::vector<UINT>{0, 1, 2, 3, 4}));

  presentation.SetTrimInfo(MakeTrim({}).Get());
  EXPECT_EQ(presentation.PresentedCount(), 8u);
  presentation.SetTrimInfo(nullptr);
  EXPECT_EQ(presentation.PresentedCount(), 8u);
}

}  // namespace
