#include "rkplay/clips/SlotElement.h"

#include <atomic>

#include "base/CRkClipElementBase.h"
#include "base/CRkHandle.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

using namespace rkplay;

namespace {

constexpr UINT kFrames = 40;
const SRkClipFormat kFormat = {kTestAudio, kTestVideo};

// A pattern that can be made to fail as files do.
class FaultyClip final : public CRkClipElementBase {
 public:
  explicit FaultyClip(const CRkRef<ReadReport>& report) : CRkClipElementBase(kFrames), m_report(report) {}

  std::atomic<bool> isGone = false;
  std::atomic<UINT> frames = kFrames;     // that it really has
  std::atomic<UINT> hangsAt = kFrames;    // until `goesOn` is set
  std::atomic<UINT> damagedAt = kFrames;  // replaced by the clip itself
  const CRkHandle goesOn = CRkHandle::AutoResetEvent();

 private:
  ~FaultyClip() override = default;

  bool _Open(IRkPlayBufferPool* pool, const SRkClipFormat& format) override {
    return !isGone && m_pattern->Open(pool, 0, &format);
  }
  void _Close() override { m_pattern->Close(); }
  BOOL _ReadFrame(const SRkPresentedFrame& frame, UINT, IRkAVPlaySample** sample) override {
    if (frame.source == hangsAt) {
      hangsAt = kFrames;
      RkWait(goesOn, INFINITE);
    }
    if (frame.source == damagedAt) m_report->OnFrameSubstituted(frame.source, "damaged");
    return frame.source < frames && m_pattern->ReadSampleAt(frame.source, sample);
  }

  const CRkRef<ReadReport> m_report;
  const CRkRef<IRkClipElement> m_pattern = MakePattern(kFrames);
};

class SlotElementTest : public testing::Test {
 protected:
  // Position and, for a frame that stands in for another, why.
  using Frame = std::pair<UINT, std::string>;

  void SetUp() override { ASSERT_TRUE(m_slot->Open(nullptr, 0, &kFormat)); }

  Frame Read() {
    EXPECT_TRUE(m_slot->ReadNextSample(m_sample.Out()));
    if (!m_sample) return {kRkNoPosition, ""};
    const auto fault = FrameFault::Of(*m_sample);
    return {m_sample->GetPosition(), fault ? fault->clip + ": " + fault->reason : ""};
  }
  // The luma of the first pixel, which the burnt-in number leaves alone.
  int Luma() {
    const BYTE* const rows = RowsOf(*m_sample, 0);
    return rows != nullptr ? rows[0] : -1;
  }

  const CRkRef<ReadReport> m_report = CRkRef<ReadReport>::Adopt(new ReadReport);
  const CRkRef<FaultyClip> m_clip = CRkRef<FaultyClip>::Adopt(new FaultyClip(m_report));
  const CRkRef<SlotElement> m_slot = CRkRef<SlotElement>::Adopt(
      new SlotElement("gone.mov", CRkRef<IRkClipElement>::Retain(m_clip.Get()), m_report, 200));
  CRkRef<IRkAVPlaySample> m_sample;
};

TEST_F(SlotElementTest, a_clip_that_ends_early_stands_on_its_last_picture_in_silence) {
  m_clip->frames = 3;
  m_clip->damagedAt = 1;
  EXPECT_EQ(Read(), Frame(0, ""));
  EXPECT_EQ(Read(), Frame(1, "gone.mov: damaged"));
  EXPECT_EQ(Read(), Frame(2, ""));
  const int last = Luma();
  for (UINT position = 3; position < kFrames; ++position) {
    ASSERT_EQ(Read(), Frame(position, "gone.mov: it ends early"));
    ASSERT_EQ(Luma(), last);
    ASSERT_EQ(SoundOf(*m_sample), std::vector<BYTE>(size_t{1920} * 4));
  }
  CRkRef<IRkAVPlaySample> none;
  EXPECT_FALSE(m_slot->ReadNextSample(none.Out()));
}

TEST_F(SlotElementTest, a_clip_that_has_vanished_is_black_and_returns_with_its_file) {
  m_clip->isGone = true;
  ASSERT_TRUE(m_slot->Open(nullptr, 0, &kFormat));
  EXPECT_EQ(Read(), Frame(0, "gone.mov: No such file or directory"));
  EXPECT_EQ(Luma(), 16);
  m_clip->isGone = false;
  ASSERT_TRUE(m_slot->Open(nullptr, 0, &kFormat));
  EXPECT_EQ(Read(), Frame(0, ""));
  EXPECT_NE(Luma(), 16);
}

TEST_F(SlotElementTest, a_read_that_hangs_costs_only_its_own_frames) {
  m_clip->hangsAt = 1;
  EXPECT_EQ(Read(), Frame(0, ""));
  EXPECT_EQ(Read(), Frame(1, "gone.mov: reading it hangs"));
  EXPECT_EQ(Read(), Frame(2, "gone.mov: reading it hangs"));
  SetEvent(m_clip->goesOn);
  do {
    m_slot->SeekTo(3);
  } while (Read() != Frame(3, ""));
  EXPECT_EQ(Read(), Frame(4, ""));
}

TEST_F(SlotElementTest, a_call_that_hangs_holds_up_neither_a_close_nor_the_end) {
  m_clip->hangsAt = 0;
  EXPECT_EQ(Read(), Frame(0, "gone.mov: reading it hangs"));
  m_slot->Close();
  ASSERT_TRUE(m_slot->Open(nullptr, 0, &kFormat));
  EXPECT_EQ(Read(), Frame(0, "gone.mov: reading it hangs"));
  SetEvent(m_clip->goesOn);  // for the sanitizers; nothing waits for it
}

}  // namespace
