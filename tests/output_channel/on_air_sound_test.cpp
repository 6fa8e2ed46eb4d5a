// RK_SIMULATED_FRAMES plays another number of frames, in thousands (5180 are a day at 59.94).

#include "output_channel/CRkOnAirSound.h"

#include <map>

#include "tests/output_channel/OutputChannelTest.h"
#include "tests/support/RkSamples.h"
#include "tests/support/RkSetting.h"

namespace {

using Block = CRkRef<IRkAudioSample>;

// Samples before a frame, exactly.
ULONGLONG Before(ULONGLONG frame, DWORD samplesPerSecond, int rate) {
  const SRkFrameRateFraction fraction = kRkFrameRates[rate];
  return frame * samplesPerSecond * fraction.denominator / fraction.numerator;
}
DWORD Share(UINT position, DWORD samplesPerSecond, int rate) {
  return static_cast<DWORD>(Before(position + 1ull, samplesPerSecond, rate) -
                            Before(position, samplesPerSecond, rate));
}

// Mono blocks without spare room whose samples count up, one of each length. Many samples share them.
class CSharedBlocks {
 public:
  explicit CSharedBlocks(DWORD samplesPerSecond) : m_samplesPerSecond(samplesPerSecond) {}

  CRkRef<IRkAVPlaySample> Sample(UINT position, DWORD count) {
    CRkRef<IRkAVPlaySample> sample;
    RkCreateAVPlaySample(sample.Out());
    sample->SetPosition(position);
    sample->SetAudioSample(0, Of(count).Get());
    return sample;
  }
  const Block& Of(DWORD count) {
    Block& block = m_blocks[count];
    if (block) return block;
    RkCreateUserAudioSample(RkMakeWaveFormat(1, m_samplesPerSecond, 16), nullptr, count, block.Out());
    block->SetSampleCount(count);
    const CRkAudioLock lock(*block);
    for (DWORD i = 0; i < count; ++i) reinterpret_cast<short*>(lock.Data())[i] = static_cast<short>(i);
    return block;
  }
  void ExpectUnchanged() const {
    for (const auto& [count, block] : m_blocks) ExpectCountingUp(*block, count, count);
  }
  static void ExpectCountingUp(IRkAudioSample& block, DWORD count, DWORD repeatedFrom) {
    const CRkAudioLock lock(block);
    ASSERT_EQ(lock.SampleCount(), count);
    for (DWORD i = 0; i < count; ++i) {
      ASSERT_EQ(reinterpret_cast<short*>(lock.Data())[i], static_cast<short>(std::min(i, repeatedFrom - 1)));
    }
  }

 private:
  const DWORD m_samplesPerSecond;
  std::map<DWORD, Block> m_blocks;
};

DWORD CountOf(IRkAVPlaySample& sample) {
  return CRkAudioLock(*AudioOf(sample)).SampleCount();
}

CRkRef<IRkAVPlaySample> Delivered(CRkOnAirSound& sound, CRkRef<IRkAVPlaySample> sample) {
  IRkAVPlaySample* delivered = sample.Detach();
  sound.Deliver(&delivered);
  return CRkRef<IRkAVPlaySample>::Adopt(delivered);
}

void SetRates(CRkOnAirSound& sound, int rate, DWORD samplesPerSecond = 48000) {
  sound.SetFrameRate(rate);
  sound.SetSamplesPerSecond(samplesPerSecond);
}

TEST(on_air_sound, a_day_of_short_lists_gives_every_sample_but_one) {
  const ULONGLONG frames = Setting("RK_SIMULATED_FRAMES", 200) * 1000ull;
  for (const int rate : {RkFrameRate_23_976, RkFrameRate_29_97, RkFrameRate_59_94}) {
    for (const DWORD samplesPerSecond : {48000u, 44100u}) {
      for (const UINT length : {1u, 5u, 33u, 1000u}) {
        CRkOnAirSound sound;
        SetRates(sound, rate, samplesPerSecond);
        CSharedBlocks blocks(samplesPerSecond);
        ULONGLONG delivered = 0;
        LONGLONG least = 0, most = 0, excess = 0;
        for (ULONGLONG frame = 0; frame < frames; ++frame) {
          const UINT position = static_cast<UINT>(frame % length);
          const DWORD share = Share(position, samplesPerSecond, rate);
          delivered += CountOf(*Delivered(sound, blocks.Sample(position, share)));
          excess = static_cast<LONGLONG>(delivered - Before(frame + 1, samplesPerSecond, rate));
          least = std::min(least, excess);
          most = std::max(most, excess);
        }
        std::printf("%llu lists of %u frames at rate %d, %u Hz: error %lld\n", frames / length, length, rate,
                    static_cast<UINT>(samplesPerSecond), excess);
        EXPECT_EQ(least, 0);
        EXPECT_LE(most, 1);
        blocks.ExpectUnchanged();
      }
    }
  }
}

TEST(on_air_sound, only_the_last_sample_after_a_jump_is_repeated_or_dropped_and_foreign_sound_never) {
  for (const DWORD extra : {0u, 1u}) {               // samples beyond the frame's share
    for (const UINT frame : {0u, 1u, 2u, 3u, 4u}) {  // repeated, frame by frame: each time a jump
      CRkOnAirSound sound;
      SetRates(sound, RkFrameRate_29_97);
      CSharedBlocks blocks(48000);
      const DWORD share = Share(frame, 48000, RkFrameRate_29_97) + extra;
      int repeated = 0, dropped = 0;
      for (int i = 0; i < 100; ++i) {
        const auto sample = Delivered(sound, blocks.Sample(frame, share));
        const DWORD count = CountOf(*sample);
        repeated += count == share + 1;
        dropped += count == share - 1;
        CSharedBlocks::ExpectCountingUp(*AudioOf(*sample), count, share);
        EXPECT_EQ(sample->GetPosition(), frame);
        EXPECT_EQ(AudioOf(*sample).Get() == blocks.Of(share).Get(), count == share);
      }
      const bool isLong = share - extra > 1601;  // the exact share is 1601.6
      EXPECT_EQ(repeated > 50, extra == 0 && !isLong) << frame;
      EXPECT_EQ(dropped > 30, extra == 0 && isLong) << frame;
      EXPECT_TRUE(repeated == 0 || dropped == 0);
    }
  }
}

using OnAir = OutputChannelTest;

// Lists with passes, a take and an immediate change, through the channel.
TEST_F(OnAir, the_sound_of_all_lists_together_is_exact_at_all_rates) {
  m_waits.frameMs = 0;
  m_waits.preRollMs = 1;
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    SRkVideoResolution video = kTestVideo;
    video.frameRate = rate;
    Create(nullptr);
    m_channel->SetVideoResolution(video);
    ULONGLONG frames = 0, delivered = 0;
    for (int list = 0; list < 16; ++list) {
      const auto element = MakePattern(3 + static_cast<UINT>(list) % 5);
      ASSERT_TRUE(m_channel->InsertClipElement(element.Get(), kRkRepeatEndless, list % 3));
      ASSERT_TRUE(m_channel->SwitchChannelAtOnce());
      for (int i = 0; i < 11 + list; ++i) {
        CRkRef<IRkAVPlaySample> sample;
        ASSERT_TRUE(m_channel->GetSample(kTestDeadlineMs, sample.Out()));
        delivered += CountOf(*sample);
        const auto error = static_cast<LONGLONG>(delivered - Before(++frames, 48000, rate));
        ASSERT_GE(error, 0) << frames;
        ASSERT_LE(error, 48000 * 1001 % kRkFrameRates[rate].numerator == 0 ? 0 : 1) << frames;
      }
    }
    m_channel->Stop();
  }
}

}  // namespace
