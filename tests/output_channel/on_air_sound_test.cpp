// RK_SIMULATED_FRAMES plays another number of frames, in thousands (5180 are a day at 59.94).

#include "output_channel/CRkOnAirSound.h"

#include "base/CRkAudioLock.h"
#include "tests/output_channel/OutputChannelTest.h"
#include "tests/support/RkSetting.h"

namespace {

// Samples before a frame, exactly.
ULONGLONG Before(ULONGLONG frame, DWORD samplesPerSecond, int rate) {
  const SRkFrameRateFraction fraction = kRkFrameRates[rate];
  return frame * samplesPerSecond * fraction.denominator / fraction.numerator;
}
DWORD Share(UINT position, DWORD samplesPerSecond, int rate) {
  return static_cast<DWORD>(Before(position + 1ull, samplesPerSecond, rate) -
                            Before(position, samplesPerSecond, rate));
}

// One block of mono sound whose samples count up, in a sample at a position.
struct SSound {
  SSound(DWORD samplesPerSecond, DWORD capacity) {
    RkCreateAVPlaySample(sample.Out());
    RkCreateUserAudioSample(RkMakeWaveFormat(1, samplesPerSecond, 16), nullptr, capacity, block.Out());
    CRkAudioLock lock(*block);
    for (DWORD i = 0; i < capacity; ++i) reinterpret_cast<short*>(lock.Data())[i] = static_cast<short>(i);
    sample->SetAudioSample(0, block.Get());
  }
  void Set(UINT position, DWORD count) {
    sample->SetPosition(position);
    block->SetSampleCount(count);
  }
  DWORD Count() const { return CRkAudioLock(*block).SampleCount(); }
  short At(DWORD index) const { return reinterpret_cast<short*>(CRkAudioLock(*block).Data())[index]; }

  CRkRef<IRkAVPlaySample> sample;
  CRkRef<IRkAudioSample> block;
};

class OnAirSoundTest : public testing::Test {
 protected:
  void SetRates(int rate, DWORD samplesPerSecond = 48000) {
    sound.SetFrameRate(rate);
    sound.SetSamplesPerSecond(samplesPerSecond);
  }
  CRkOnAirSound sound;
};

TEST_F(OnAirSoundTest, a_day_of_short_lists_gives_every_sample_but_one) {
  const ULONGLONG frames = Setting("RK_SIMULATED_FRAMES", 200) * 1000ull;
  for (const int rate : {RkFrameRate_23_976, RkFrameRate_29_97, RkFrameRate_59_94}) {
    for (const DWORD samplesPerSecond : {48000u, 44100u}) {
      for (const UINT length : {1u, 5u, 33u, 1000u}) {
        SetRates(rate, samplesPerSecond);
        SSound heard(samplesPerSecond, 2100);
        ULONGLONG delivered = 0;
        LONGLONG least = 0, most = 0;
        for (ULONGLONG frame = 0; frame < frames; ++frame) {
          const UINT position = static_cast<UINT>(frame % length);
          heard.Set(position, Share(position, samplesPerSecond, rate));
          sound.Deliver(*heard.sample);
          delivered += heard.Count();
          const auto excess = static_cast<LONGLONG>(delivered) -
                              static_cast<LONGLONG>(Before(frame + 1, samplesPerSecond, rate));
          least = std::min(least, excess);
          most = std::max(most, excess);
        }
        EXPECT_EQ(least, 0) << length << " frames at rate " << rate << ", " << samplesPerSecond;
        EXPECT_LE(most, 1) << length << " frames at rate " << rate << ", " << samplesPerSecond;
        SetRates(RkFrameRate_25);
        sound.Deliver(*heard.sample);
      }
    }
  }
}

TEST_F(OnAirSoundTest, only_the_last_sample_after_a_jump_is_repeated_or_dropped_and_foreign_sound_never) {
  struct {
    DWORD room, extra;  // beyond the frame's share
    bool mayRepeat, mayDrop;
  } const rows[] = {{1, 0, true, true}, {0, 0, false, true}, {9, 1, false, false}};
  for (const auto& row : rows) {
    for (const UINT frame : {0u, 1u, 2u, 3u, 4u}) {  // repeated, frame by frame: each time a jump
      SetRates(RkFrameRate_29_97);
      const DWORD share = Share(frame, 48000, RkFrameRate_29_97) + row.extra;
      SSound heard(48000, share + row.room);
      int repeated = 0, dropped = 0;
      for (int i = 0; i < 100; ++i) {
        heard.Set(frame, share);
        sound.Deliver(*heard.sample);
        const DWORD count = heard.Count();
        repeated += count > share;
        dropped += count < share;
        ASSERT_LE(std::max(count, share) - std::min(count, share), 1u);
        for (DWORD s = 0; s < count; ++s) ASSERT_EQ(heard.At(s), static_cast<short>(std::min(s, share - 1)));
        if (count > share) heard = SSound(48000, share + row.room);
      }
      const bool isLong = share - row.extra > 1601;  // the exact share is 1601.6
      EXPECT_EQ(repeated > 50, row.mayRepeat && !isLong) << frame;
      EXPECT_EQ(dropped > 30, row.mayDrop && isLong) << frame;
      EXPECT_FALSE(repeated > 0 && dropped > 0);
      SetRates(RkFrameRate_25);
      sound.Deliver(*heard.sample);
    }
  }
}

using OnAir = OutputChannelTest;

// Lists of patterns with passes, a take and an immediate change, through the channel.
TEST_F(OnAir, the_sound_of_all_lists_together_is_exact_at_all_rates) {
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    SRkVideoResolution video = kTestVideo;
    video.frameRate = rate;
    Create(nullptr);
    m_channel->SetVideoResolution(video);
    ULONGLONG frames = 0, delivered = 0;
    for (int list = 0; list < 8; ++list) {
      CRkRef<IRkClipElement> element;
      ASSERT_TRUE(RkCreatePatternClipElement(3 + list % 5, element.Out()));
      ASSERT_TRUE(m_channel->InsertClipElement(element.Get(), kRkRepeatEndless, list % 3));
      ASSERT_TRUE(m_channel->SwitchChannelAtOnce());
      for (int i = 0; i < 11 + list; ++i) {
        CRkRef<IRkAVPlaySample> sample;
        CRkRef<IRkAudioSample> block;
        ASSERT_TRUE(m_channel->GetSample(kTestDeadlineMs, sample.Out()));
        sample->GetAudioSample(0, 0, block.Out());
        delivered += CRkAudioLock(*block).SampleCount();
        const auto exact = static_cast<LONGLONG>(Before(++frames, 48000, rate));
        const auto error = static_cast<LONGLONG>(delivered) - exact;
        ASSERT_GE(error, 0) << frames;
        ASSERT_LE(error, 48000 * 1001 % kRkFrameRates[rate].numerator == 0 ? 0 : 1) << frames;
      }
    }
  }
}

}  // namespace
