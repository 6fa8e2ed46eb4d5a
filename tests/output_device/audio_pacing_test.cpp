#include <gtest/gtest.h>

#include <cmath>

#include "output_device/CRkAudioPacing.h"
#include "output_device/CRkVideoPresenter.h"
#include "tests/output_device/DeviceFakes.h"
#include "tests/support/RkSetting.h"

namespace {

using Events = std::vector<std::string>;
constexpr DWORD kFrameBytes = 1920 * 4;

class audio_pacing : public testing::Test {
 protected:
  void Begin(int lead, const SRkWaveFormatInfo& format = kTestAudio, ERkFrameRate rate = RkFrameRate_25) {
    ASSERT_TRUE(m_queue.Create(64) && m_shown.Create());
    ASSERT_TRUE(m_builder.Configure(format, 2, rate));
    m_callback.Set(m_sink);
    Restart(lead, rate);
  }
  void Restart(int lead, ERkFrameRate rate) {
    m_renderer->Reset();
    m_shown.BeginPlay();
    m_shown.ClearSubmitted();
    m_pacing.emplace(m_shown, m_events.All(), *m_renderer, m_builder, m_queue, m_callback,
                     RkFrameDurationMs(rate), lead);
  }
  void Submit(int count, IRkUnknown* attachment = nullptr, DWORD samples = 1920) {
    for (int i = 0; i < count; ++i) {
      const auto sample = MakeSample({MakeBlock(2, 16, samples, 100, 1)});
      sample->SetAttachment(attachment);
      Push(m_queue, sample.Get());
      m_shown.CountSubmitted();
    }
  }
  // Frames in the renderer after a pass at this position.
  size_t PassAt(double positionMs) {
    m_renderer->plays = true;
    m_renderer->positionMs = positionMs;
    m_pacing->Pass();
    return m_renderer->Writes().size();
  }

  // No gap, and every frame within so many samples of its time.
  void ExpectExact(size_t leastFrames, double tolerance) {
    const auto writes = m_renderer->Writes();
    ASSERT_GE(writes.size(), leastFrames);
    ULONGLONG end = 0;
    for (UINT frame = 0; frame < writes.size(); ++frame) {
      ASSERT_EQ(writes[frame].first, end);
      end += writes[frame].second;
      ASSERT_NEAR(writes[frame].first / 4.0, static_cast<double>(m_builder.FirstSample(frame)), tolerance);
    }
  }

  CRkRef<CFakeDeviceCallback> m_sink = MakeFake<CFakeDeviceCallback>();
  CRkRef<CScriptedRenderer> m_renderer = MakeFake<CScriptedRenderer>();
  CRkLockedRef<IRkSoftwareOutputCallback> m_callback;
  CRkSampleQueue m_queue;
  CRkShownFrame m_shown;
  CRkAudioFrameBuilder m_builder;
  const SPacingEvents m_events{};
  std::optional<CRkAudioPacing> m_pacing;
};

TEST_F(audio_pacing, pre_roll_writes_and_reports_one_queued_frame_a_pass_and_shows_nothing) {
  Begin(3);
  Submit(2, m_renderer.Get());
  m_pacing->Pass();
  EXPECT_EQ(m_sink->Take(), Events{"a7680"});
  EXPECT_EQ(m_sink->attachments, 1);
  for (int i = 0; i < 3; ++i) m_pacing->Pass();
  EXPECT_EQ(m_renderer->Writes().size(), 2U);
  EXPECT_EQ(m_renderer->Writes()[1], (std::pair<ULONGLONG, DWORD>{kFrameBytes, kFrameBytes}));
  EXPECT_EQ(m_shown.Get(), kRkNoPosition);
}

TEST_F(audio_pacing, writes_queued_frames_up_to_the_lead_and_silence_two_frames_ahead) {
  Begin(3);
  Submit(40);
  EXPECT_EQ(PassAt(400.0), 14U);  // frames 0 to 13
  EXPECT_EQ(m_shown.Get(), 10U);
  m_queue.Flush();
  EXPECT_EQ(PassAt(480.0), 15U);  // silence to 14 only
  m_renderer->notifies = false;
  EXPECT_EQ(PassAt(600.0), 15U);
}

TEST_F(audio_pacing, a_short_lead_leaves_room_for_queued_frames_after_silence) {
  Begin(1);
  EXPECT_EQ(PassAt(0.0), 2U);  // silence for 0 and 1, not 2
  Submit(1);
  EXPECT_EQ(PassAt(40.0), 3U);  // the queued one
  EXPECT_EQ(m_queue.Count(), 0);
}

TEST_F(audio_pacing, frames_that_cannot_be_built_leave_a_gap_of_their_exact_length) {
  SRkWaveFormatInfo format = kTestAudio;
  format.blockAlign = 8;  // no sample is made for it, but a block of sound still passes through
  Begin(3, format, RkFrameRate_29_97);
  EXPECT_EQ(PassAt(0.0), 0U);
  EXPECT_EQ(PassAt(70.0), 0U);
  Submit(1, nullptr, 1602);  // behind five frames
  EXPECT_EQ(PassAt(70.0), 1U);
  EXPECT_EQ(m_renderer->Writes()[0].first, 8008U * 8);
}

TEST_F(audio_pacing, keeps_every_frame_at_its_time_whatever_its_block_holds) {
  Begin(1, kTestAudio, RkFrameRate_59_94);
  const auto empty = MakeBlock(2, 16, 1, 100, 1);
  empty->SetSampleCount(0);  // its memory stays
  // Shorter and longer by little and by much, none, empty, at another rate, and with another layout.
  for (const auto& block :
       {MakeBlock(2, 16, 800, 100, 1), MakeBlock(2, 16, 802, 100, 1), MakeBlock(2, 16, 1, 100, 1),
        MakeBlock(2, 16, 5000, 100, 1), CRkRef<IRkAudioSample>(), empty, MakeBlock(2, 16, 735, 100, 1, 44100),
        MakeBlock(2, 24, 9999, 100, 1), MakeBlock(1, 32, 1, 100, 1)}) {
    Restart(1, RkFrameRate_59_94);
    for (UINT frame = 0; frame < 1000; ++frame) {
      Push(m_queue, MakeSample({block}).Get());
      m_shown.CountSubmitted();
      PassAt(std::fmod((frame + 0.01) * RkFrameDurationMs(RkFrameRate_59_94), 1000.0));
    }
    ExpectExact(1000, 96.0);
  }
}

// RK_SIMULATED_FRAMES plays another number of frames, in thousands: 2610 are a day at 29.97.
TEST_F(audio_pacing, keeps_pictures_and_sound_exact_over_a_long_run) {
  constexpr UINT kAhead = 8;
  const UINT frames = 1000 * static_cast<UINT>(Setting("RK_SIMULATED_FRAMES", 200));
  CRkSampleQueue pictures;
  const auto marker = MakeVideo(0);
  ASSERT_TRUE(pictures.Create(64));
  for (const ERkFrameRate rate : {RkFrameRate_29_97, RkFrameRate_59_94}) {
    Begin(5, kTestAudio, rate);
    CRkVideoPresenter presenter(pictures, m_shown, m_callback, marker.Get());
    std::vector<CRkRef<IRkAudioSample>> blocks(2 * kAhead);
    for (auto& block : blocks) block = MakeBlock(2, 16, 2048, 0, 0);
    m_renderer->plays = true;
    UINT submitted = 0, jitter = 1;
    for (UINT frame = 0; frame < frames; ++frame) {
      for (; submitted < frame + kAhead; ++submitted) {
        const auto& block = blocks[submitted % blocks.size()];
        block->SetSampleCount(
            static_cast<DWORD>(m_builder.FirstSample(submitted + 1) - m_builder.FirstSample(submitted)));
        Push(m_queue, MakeSample({block}).Get());
        Push(pictures, MakeVideo(submitted).Get());
        m_shown.CountSubmitted();
      }
      jitter = jitter * 1664525 + 1013904223;
      const double within = 0.02 + 0.96 * (jitter >> 16) / 65536.0;
      m_renderer->positionMs = std::fmod((frame + within) * RkFrameDurationMs(rate), 1000.0);
      m_pacing->Pass();
      presenter.FramePass();
      ASSERT_EQ(m_sink->Take().back(), std::string("v").append(std::to_string(frame)));
    }
    ExpectExact(frames, 0.0);
    m_queue.Flush();
    pictures.Flush();
  }
}

class audio_builder : public testing::Test {
 protected:
  // The first stereo pair of the frame that is built from the blocks.
  std::pair<int, int> Build(int sourceChannels, const std::vector<CRkRef<IRkAudioSample>>& blocks) {
    CRkAudioFrameBuilder builder;
    EXPECT_TRUE(builder.Configure(kTestAudio, sourceChannels, RkFrameRate_25));
    CRkRef<IRkAudioSample> audio;
    EXPECT_TRUE(builder.Build(MakeSample(blocks).Get(), 0, audio.Out()));
    m_count = CRkAudioLock(*audio).SampleCount();
    m_passedThrough = !blocks.empty() && audio.Get() == blocks[0].Get();
    return {SamplesOf(*audio)[0], SamplesOf(*audio)[1]};
  }
  DWORD m_count = 0;
  bool m_passedThrough = false;
};

TEST_F(audio_builder,
       passes_16_bit_stereo_through_and_spreads_other_channels_in_pairs_an_odd_last_one_to_both) {
  const auto pair = [](int value) { return MakeBlock(2, 16, 1920, value, 1000); };
  EXPECT_EQ(Build(6, {MakeBlock(2, 24, 1920, 256 * 100, 256 * 10), MakeBlock(2, 24, 1920, 0, 0),
                      MakeBlock(2, 24, 1920, 256, 256)}),
            (std::pair{101, 112}));
  EXPECT_EQ(Build(3, {MakeBlock(1, 16, 1920, 1, 0), MakeBlock(1, 16, 1920, 10, 0), pair(100)}),
            (std::pair{101, 110}));
  EXPECT_EQ(Build(2, {MakeBlock(1, 16, 1920, 7, 0), MakeBlock(1, 16, 1920, 8, 0)}), (std::pair{7, 8}));
  EXPECT_FALSE(m_passedThrough);
  EXPECT_EQ(Build(6, {pair(5), pair(100)}), (std::pair{5, 1005}));
  EXPECT_TRUE(m_passedThrough);
}

TEST(audio_builder_fit, stretches_and_squeezes_without_a_step) {
  CRkAudioFrameBuilder builder;
  ASSERT_TRUE(builder.Configure(kTestAudio, 2, RkFrameRate_25));
  CRkRef<IRkAudioSample> built;
  ASSERT_TRUE(builder.Build(MakeSample({MakeBlock(2, 16, 1920, 0, 0)}).Get(), 0, built.Out()));
  int16_t* samples = SamplesOf(*built);
  for (int i = 0; i < 2 * 1920; ++i) samples[i] = static_cast<int16_t>(i % 2 == 0 ? 5 * i - 9600 : -i / 2);
  // Again and again, in its own memory too.
  for (const DWORD count : {1921u, 1700u, 3840u, 960u}) {
    CRkRef<IRkAudioSample> fitted;
    ASSERT_TRUE(builder.Fit(*built, count, fitted.Out()));
    samples = SamplesOf(*fitted);
    for (DWORD i = 0; i < count; ++i) {
      const double part = i / (count - 1.0) * 1919.0;
      ASSERT_NEAR(samples[2 * i], 10 * part - 9600, 6.0) << count;
      ASSERT_NEAR(samples[2 * i + 1], -part, 6.0) << count;
    }
    built = fitted;
  }
}

TEST_F(audio_builder, fits_later_blocks_to_the_first_in_width_and_length) {
  // Three channels where one is left, shorter than the first, then far more samples than two frames.
  EXPECT_EQ(Build(3, {MakeBlock(2, 24, 1920, 256, 256), MakeBlock(3, 24, 10, 2560, 2560)}),
            (std::pair{11, 12}));
  EXPECT_EQ(m_count, 1920U);
  EXPECT_EQ(Build(4, {MakeBlock(4, 24, 100000, 256, 0)}), (std::pair{2, 2}));
  EXPECT_EQ(m_count, 100000U);
}

}  // namespace
