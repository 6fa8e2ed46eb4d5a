#include <gtest/gtest.h>

#include <cmath>

#include "output_device/CRkAudioPacing.h"
#include "tests/output_device/DeviceFakes.h"

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

  CRkRef<CFakeDeviceCallback> m_sink = MakeFake<CFakeDeviceCallback>();
  CRkRef<CScriptedRenderer> m_renderer = MakeFake<CScriptedRenderer>();
  CRkLockedRef<IRkSoftwareOutputCallback> m_callback;
  CRkSampleQueue m_queue;
  CRkShownFrame m_shown;
  CRkAudioFrameBuilder m_builder;
  const SPacingEvents m_events;
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
  // Shorter and longer by little and by much, none, at another rate, and with another layout.
  const std::vector<CRkRef<IRkAVPlaySample>> kinds = {MakeSample({MakeBlock(2, 16, 800, 100, 1)}),
                                                      MakeSample({MakeBlock(2, 16, 802, 100, 1)}),
                                                      MakeSample({MakeBlock(2, 16, 1, 100, 1)}),
                                                      MakeSample({MakeBlock(2, 16, 5000, 100, 1)}),
                                                      MakeSample({}),
                                                      MakeSample({MakeBlock(2, 16, 735, 100, 1, 44100)}),
                                                      MakeSample({MakeBlock(2, 24, 9999, 100, 1)}),
                                                      MakeSample({MakeBlock(1, 32, 1, 100, 1)})};
  for (const auto& kind : kinds) {
    Restart(1, RkFrameRate_59_94);
    for (UINT frame = 0; frame < 1000; ++frame) {
      Push(m_queue, kind.Get());
      m_shown.CountSubmitted();
      PassAt(std::fmod(frame * RkFrameDurationMs(RkFrameRate_59_94) + 0.1, 1000.0));
    }
    const auto writes = m_renderer->Writes();
    ASSERT_GE(writes.size(), 1000U);
    ULONGLONG end = 0;
    for (size_t frame = 0; frame < writes.size(); ++frame) {
      ASSERT_EQ(writes[frame].first, end);  // no gap
      end += writes[frame].second;
      ASSERT_NEAR(writes[frame].first / 4.0,
                  static_cast<double>(m_builder.FirstSample(static_cast<UINT>(frame))), 96.0);
    }
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
    SRkLockAudioSample lock = {};
    audio->Lock(&lock);
    const auto* samples = reinterpret_cast<const int16_t*>(lock.data);
    const std::pair<int, int> first = {samples[0], samples[1]};
    audio->Unlock();
    m_count = lock.sampleCount;
    return first;
  }
  DWORD m_count = 0;
};

TEST_F(audio_builder, spreads_pairs_to_left_and_right_and_an_odd_last_channel_to_both) {
  const auto pair = [](int value) { return MakeBlock(2, 16, 1920, value, 1000); };
  EXPECT_EQ(Build(6, {MakeBlock(2, 24, 1920, 256 * 100, 256 * 10), MakeBlock(2, 24, 1920, 0, 0),
                      MakeBlock(2, 24, 1920, 256, 256)}),
            (std::pair{101, 112}));
  EXPECT_EQ(Build(3, {MakeBlock(1, 16, 1920, 1, 0), MakeBlock(1, 16, 1920, 10, 0), pair(100)}),
            (std::pair{101, 110}));
  EXPECT_EQ(Build(2, {MakeBlock(1, 16, 1920, 7, 0), MakeBlock(1, 16, 1920, 8, 0)}), (std::pair{7, 8}));
}

TEST_F(audio_builder, stretches_and_squeezes_without_a_step) {
  CRkAudioFrameBuilder builder;
  ASSERT_TRUE(builder.Configure(kTestAudio, 2, RkFrameRate_25));
  const auto ramp = MakeBlock(2, 16, 1920, 0, 0);
  SRkLockAudioSample lock = {};
  ramp->Lock(&lock);
  auto* const values = reinterpret_cast<int16_t*>(lock.data);
  for (int i = 0; i < 2 * 1920; ++i)
    values[i] = static_cast<int16_t>(i % 2 == 0 ? 10 * (i / 2) - 9600 : -i / 2);
  ramp->Unlock();
  CRkRef<IRkAudioSample> audio = ramp;
  // Again and again, in its own memory too.
  for (const DWORD count : {1921u, 1700u, 3840u, 960u}) {
    CRkRef<IRkAudioSample> fitted;
    ASSERT_TRUE(builder.Fit(*audio, count, fitted.Out()));
    fitted->Lock(&lock);
    ASSERT_EQ(lock.sampleCount, count);
    const auto* const samples = reinterpret_cast<const int16_t*>(lock.data);
    for (DWORD i = 0; i < count; ++i) {
      const double part = i / (count - 1.0) * 1919.0;
      ASSERT_NEAR(samples[2 * i], 10 * part - 9600, 6.0) << count;
      ASSERT_NEAR(samples[2 * i + 1], -part, 6.0) << count;
    }
    fitted->Unlock();
    audio = fitted;
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

TEST_F(audio_builder, passes_the_output_format_through_and_fills_frames_without_sound_to_their_exact_length) {
  CRkAudioFrameBuilder builder;
  ASSERT_TRUE(builder.Configure(kTestAudio, 2, RkFrameRate_29_97));
  ULONGLONG total = 0;
  const auto empty = MakeBlock(2, 16, 1, 0, 0);
  empty->SetSampleCount(0);
  const CRkRef<IRkAVPlaySample> samples[] = {{}, MakeSample({}), MakeSample({empty})};
  for (UINT frame = 0; frame < 5; ++frame) {
    CRkRef<IRkAudioSample> audio;
    ASSERT_TRUE(builder.Build(samples[frame % 3].Get(), frame, audio.Out()));
    SRkAudioSampleInfo info = {};
    audio->GetInfo(&info);
    total += info.dataLength;
  }
  EXPECT_EQ(total, 8008U * 4);

  const auto block = MakeBlock(2, 16, 1600, 5, 1);
  CRkRef<IRkAudioSample> audio;
  ASSERT_TRUE(builder.Build(MakeSample({block}).Get(), 5, audio.Out()));
  EXPECT_EQ(audio.Get(), block.Get());
}

}  // namespace
