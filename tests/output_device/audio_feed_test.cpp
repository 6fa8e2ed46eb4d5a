#include <gtest/gtest.h>

#include "output_device/CRkAudioFeed.h"
#include "tests/output_device/DeviceFakes.h"

namespace {

using Events = std::vector<std::string>;
constexpr DWORD kFrameBytes = 1920 * 4;

class audio_feed : public testing::Test {
 protected:
  void Begin(int lead, const SRkWaveFormatInfo& format = kTestAudio, ERkFrameRate rate = RkFrameRate_25) {
    ASSERT_TRUE(m_queue.Create(64) && m_shown.Create());
    ASSERT_TRUE(m_builder.Configure(format, 2, rate));
    m_callback.Set(m_sink.Get());
    m_shown.BeginRun();
    m_feed.emplace(*m_renderer, m_builder, m_queue, m_shown, m_callback, RkFrameDurationMs(rate), lead);
  }
  void Submit(int count, IRkUnknown* attachment = nullptr) {
    for (int i = 0; i < count; ++i) {
      const auto sample = MakeSample({MakeBlock(2, 16, 1920, 100, 1)});
      sample->SetAttachment(attachment);
      Push(m_queue, sample.Get());
      m_shown.CountSubmitted();
    }
  }
  // Frames in the renderer after a pass at this position.
  size_t PassAt(double positionMs) {
    m_renderer->plays = true;
    m_renderer->positionMs = positionMs;
    m_feed->Pass(m_exit);
    return m_renderer->Writes().size();
  }

  CRkRef<CFakeDeviceCallback> m_sink = MakeFake<CFakeDeviceCallback>();
  CRkRef<CScriptedRenderer> m_renderer = MakeFake<CScriptedRenderer>();
  CRkDeviceCallback m_callback;
  CRkSampleQueue m_queue;
  CRkShownFrame m_shown;
  CRkAudioFrameBuilder m_builder;
  const CRkHandle m_exit = CRkHandle::ManualResetEvent();
  std::optional<CRkAudioFeed> m_feed;
};

TEST_F(audio_feed, pre_roll_writes_and_reports_one_queued_frame_a_pass_and_shows_nothing) {
  Begin(3);
  Submit(2, m_renderer.Get());
  m_feed->Pass(m_exit);
  EXPECT_EQ(m_sink->Take(), Events{"a7680"});
  EXPECT_EQ(m_sink->attachments, 1);
  for (int i = 0; i < 3; ++i) m_feed->Pass(m_exit);
  EXPECT_EQ(m_renderer->Writes().size(), 2U);
  EXPECT_EQ(m_renderer->Writes()[1], (std::pair<ULONGLONG, DWORD>{kFrameBytes, kFrameBytes}));
  EXPECT_EQ(m_shown.Get(), kRkNoPosition);
}

TEST_F(audio_feed, writes_queued_frames_up_to_the_lead_and_silence_two_frames_ahead) {
  Begin(3);
  Submit(40);
  EXPECT_EQ(PassAt(400.0), 14U);  // frames 0 to 13
  EXPECT_EQ(m_shown.Get(), 10U);
  m_queue.Flush();
  EXPECT_EQ(PassAt(480.0), 15U);  // silence to 14 only
  m_renderer->notifies = false;
  EXPECT_EQ(PassAt(600.0), 15U);
}

TEST_F(audio_feed, a_short_lead_leaves_room_for_queued_frames_after_silence) {
  Begin(1);
  EXPECT_EQ(PassAt(0.0), 2U);  // silence for 0 and 1, not 2
  Submit(1);
  EXPECT_EQ(PassAt(40.0), 3U);  // the queued one
  EXPECT_EQ(m_queue.Count(), 0);
}

TEST_F(audio_feed, frames_that_cannot_be_built_leave_a_gap_of_their_exact_length) {
  SRkWaveFormatInfo format = kTestAudio;
  format.blockAlign = 8;  // no sample is made for it, but a block of sound still passes through
  Begin(3, format, RkFrameRate_29_97);
  EXPECT_EQ(PassAt(0.0), 0U);
  EXPECT_EQ(PassAt(70.0), 0U);
  Submit(1);  // behind five frames
  EXPECT_EQ(PassAt(70.0), 1U);
  EXPECT_EQ(m_renderer->Writes()[0].first, 8008U * 8);
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

TEST_F(audio_builder, cuts_blocks_that_are_wider_or_longer_than_the_mix) {
  // Three channels where one is left, shorter than the first, then far more samples than two frames.
  EXPECT_EQ(Build(3, {MakeBlock(2, 24, 1920, 256, 256), MakeBlock(3, 24, 10, 2560, 2560)}),
            (std::pair{11, 12}));
  EXPECT_EQ(m_count, 1920U);
  EXPECT_EQ(Build(4, {MakeBlock(4, 24, 100000, 256, 0)}), (std::pair{2, 2}));
  EXPECT_EQ(m_count, 3840U);
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
