#include <gtest/gtest.h>

#include <algorithm>
#include <future>

#include "tests/output_device/DeviceFakes.h"

namespace {

using Events = std::vector<std::string>;

// A soft clock that ticks when the test says so.
class CHandClock : public CFake<IRkSoftRefClock> {
 public:
  std::atomic<int> running = 0;
  std::atomic<UINT> ticks = 0;

  void Start(double) override {
    ++running;
    m_given = ticks = 0;
    stopping = false;
  }
  void WaitTick(UINT) override {
    WaitUntil([&] { return m_given < ticks || running == 0 || stopping; });
    ++m_given;
  }
  void Stop() override { --running; }
  std::atomic<bool> stopping = false;

 private:
  std::atomic<UINT> m_given = 0;
};

CRkRef<CScriptedRenderer> g_renderer;
CRkRef<CHandClock> g_clock;
SRkWaveFormatInfo g_rendererFormat = {};
DWORD g_startBytes = 0;

}  // namespace

// In place of the kernel library's own.
int RkCreateAudioDirectSound(const SRkWaveFormatInfo& format, HWND, double, DWORD startBytes,
                             IRkAudioDirectSound** renderer) {
  if (!g_renderer) return 0;
  g_rendererFormat = format;
  g_startBytes = startBytes;
  g_renderer->AddRef();
  *renderer = g_renderer.Get();
  return 1;
}

int RkCreateSoftRefClock(IRkSoftRefClock** clock) {
  if (!g_clock) return 0;
  g_clock->AddRef();
  *clock = g_clock.Get();
  return 1;
}

namespace {

class output_device : public testing::Test {
 protected:
  ~output_device() override {
    if (g_clock) g_clock->stopping = true;
    m_device.Reset();
    m_sink.Reset();
    g_renderer.Reset();
    g_clock.Reset();
    EXPECT_EQ(g_liveFakes, 0);
  }
  void CreateWithAudio(int channels, int queueDepth) {
    g_renderer = MakeFake<CScriptedRenderer>();
    Create(RkMakeWaveFormat(channels, 48000, 24), queueDepth);
  }
  void CreateWithPicturesOnly(int queueDepth) {
    g_clock = MakeFake<CHandClock>();
    Create(RkMakeWaveFormat(2, 48000, 16), queueDepth);
  }
  void Create(const SRkWaveFormatInfo& audio, int queueDepth) {
    ASSERT_TRUE(RkCreateSoftwareOutputDevice(kTestVideo, audio, nullptr, queueDepth, m_device.Out()));
    EXPECT_TRUE(m_device->SetOutputCallback(m_sink.Get()));
  }
  void Put(bool withVideo) {
    const auto sample = MakeSample({MakeBlock(2, 16, 1920, 1, 1)});
    if (withVideo) sample->SetVideoSample(MakeVideo(77).Get());
    EXPECT_TRUE(m_device->PutSample(sample.Get()));
  }
  // With audio: plays when so many frames are written.
  void PlayFromFrame0(size_t frames) {
    m_device->Play();
    for (size_t i = 0; i < frames; ++i) Put(true);
    EXPECT_TRUE(WaitUntil([&] { return g_renderer->Writes().size() == frames; }));
    g_renderer->plays = true;
  }
  void TickAndAwait(const std::string& event) {
    ++g_clock->ticks;
    EXPECT_TRUE(WaitUntil([&] { return m_sink->Has(event); })) << event;
  }

  CRkRef<CFakeDeviceCallback> m_sink = MakeFake<CFakeDeviceCallback>();
  CRkRef<IRkSoftwareOutputDevice> m_device;
};

TEST_F(output_device, refuses_what_it_cannot_play) {
  g_clock = MakeFake<CHandClock>();
  IRkSoftwareOutputDevice* device = nullptr;
  SRkVideoResolution video = kTestVideo;
  EXPECT_EQ(RkCreateSoftwareOutputDevice(video, kTestAudio, nullptr, 0, &device), 0);
  video.frameRate = 8;
  EXPECT_EQ(RkCreateSoftwareOutputDevice(video, kTestAudio, nullptr, 3, &device), 0);
  g_clock.Reset();
  EXPECT_EQ(RkCreateSoftwareOutputDevice(kTestVideo, kTestAudio, nullptr, 3, &device), 0);
  EXPECT_EQ(device, nullptr);
}

TEST_F(output_device, asks_for_sixteen_bit_stereo_with_its_lead_written_before_it_plays) {
  for (const auto& [queueDepth, lead] : {std::pair{1, 1u}, {2, 1u}, {4, 3u}, {10, 5u}}) {
    CreateWithAudio(6, queueDepth);
    EXPECT_EQ(g_rendererFormat.channels, 2);
    EXPECT_EQ(g_rendererFormat.blockAlign, 4);
    EXPECT_EQ(g_rendererFormat.bytesPerSecond, 192000U);
    EXPECT_EQ(g_startBytes, lead * 1920 * 4);
    m_device.Reset();
  }
}

TEST_F(output_device, takes_the_soft_clock_for_a_format_without_channels_where_a_renderer_is_to_be_had) {
  g_renderer = MakeFake<CScriptedRenderer>();
  g_clock = MakeFake<CHandClock>();
  Create(RkMakeWaveFormat(0, 48000, 16), 3);
  ASSERT_EQ(References(*g_renderer.Get()), 1U);
  m_device->Play();
  Put(true);
  TickAndAwait("v0");
}

TEST_F(output_device, plays_one_channel_on_the_left_of_stereo) {
  CreateWithAudio(1, 4);
  m_device->Play();
  EXPECT_TRUE(m_device->PutSample(MakeSample({MakeBlock(1, 24, 1920, 256 * 7, 0)}).Get()));
  EXPECT_TRUE(WaitUntil([&] { return g_renderer->Writes().size() == 1; }));
  EXPECT_EQ(g_renderer->firstSamples, (std::pair<int, int>{7, 0}));
}

TEST_F(output_device, shows_a_submitted_picture_immediately_while_stopped) {
  CreateWithPicturesOnly(3);
  Put(true);
  Put(false);
  EXPECT_FALSE(m_device->PutSample(nullptr));
  EXPECT_TRUE(m_device->Stop(TRUE));
  EXPECT_EQ(m_sink->Take(), Events{"v77"});
  EXPECT_FALSE(m_device->SetOutputCallback(nullptr));
}

TEST_F(output_device, shows_one_picture_a_tick_from_0_in_every_run_and_jumps_to_the_last_at_a_stop) {
  CreateWithPicturesOnly(4);
  for (int run = 0; run < 2; ++run) {
    m_device->Play();
    m_device->Play();
    for (int i = 0; i < 4; ++i) Put(true);
    auto fifth = std::async(std::launch::async, [&] { Put(true); });  // waits for a free pool sample
    TickAndAwait("v0");
    TickAndAwait("v1");
    fifth.get();
    EXPECT_EQ(m_sink->Take(), (Events{"play", "v0", "v1"}));
    g_clock->stopping = true;
    EXPECT_TRUE(m_device->Stop(TRUE));
    const Events events = m_sink->Take();
    ASSERT_GE(events.size(), 3U);
    EXPECT_EQ((Events{events.end() - 3, events.end()}), (Events{"v4", "blank", "stop"}));
    EXPECT_EQ(g_clock->running, 0);
  }
}

TEST_F(output_device, loses_no_picture_while_the_video_thread_is_held_up_however_short_its_queues) {
  for (const int depth : {1, 2}) {
    CreateWithAudio(2, depth);
    m_sink->pictureGate.Shut();
    PlayFromFrame0(2);
    EXPECT_TRUE(WaitUntil([&] { return m_sink->Has("v0"); }));
    for (int i = 0; i < depth; ++i) Put(true);
    g_renderer->positionMs = 40.0;
    Put(true);  // once frame 2 is written
    m_sink->pictureGate.Open();
    for (int frame = 1; frame < depth + 3; ++frame) {
      g_renderer->positionMs = 40.0 * frame;
      const std::string shown = std::string("v").append(std::to_string(frame));
      EXPECT_TRUE(WaitUntil([&] { return m_sink->Has(shown); })) << shown;
    }
    m_device.Reset();
    m_sink->Take();
  }
}

TEST_F(output_device, follows_the_renderer_plays_out_what_is_queued_at_a_stop_and_starts_again) {
  CreateWithAudio(2, 4);
  for (int run = 0; run < 2; ++run) {
    PlayFromFrame0(4);
    EXPECT_EQ(g_renderer->Writes()[0].first, 0U);
    g_renderer->positionMs = 40.0;
    EXPECT_TRUE(WaitUntil([&] { return m_sink->Has("v1"); }));
    g_renderer->stepMs = 40.0;
    Put(true);
    EXPECT_TRUE(m_device->Stop(FALSE));
    EXPECT_GE(g_renderer->Writes().size(), 5U);
    const Events events = m_sink->Take();
    EXPECT_EQ(events.back(), "stop");
    EXPECT_TRUE(std::count(events.begin(), events.end(), "v4") > 0);
    EXPECT_FALSE(m_device->IsPlaying());
  }
}

TEST_F(output_device, consecutive_samples_without_picture_blank_once) {
  CreateWithAudio(2, 4);
  for (int run = 0; run < 2; ++run) {
    m_device->Play();
    g_renderer->plays = true;
    for (const bool withVideo : {false, false, true, false}) Put(withVideo);
    g_renderer->stepMs = 40.0;
    EXPECT_TRUE(m_device->Stop(FALSE));
    const Events events = m_sink->Take();
    EXPECT_EQ(std::count(events.begin(), events.end(), "blank"), 2) << "run " << run;
  }
}

TEST_F(output_device, ends_without_a_renderer_that_starts_or_one_that_notifies) {
  CreateWithAudio(2, 4);
  m_device->Play();
  for (int i = 0; i < 9; ++i) Put(true);  // while nothing plays, what is put is written immediately
  EXPECT_TRUE(m_device->Stop(FALSE));
  EXPECT_TRUE(m_sink->Has("v8"));
  EXPECT_GE(g_renderer->Writes().size(), 5u);  // but for what the queue still held

  g_renderer->notifies = false;
  PlayFromFrame0(3);
  g_renderer->stepMs = 40.0;
  EXPECT_TRUE(m_device->Stop(FALSE));
  EXPECT_EQ(m_sink->Take().back(), "stop");
}

TEST_F(output_device, its_callback_may_take_itself_off_and_another_be_set) {
  CreateWithPicturesOnly(4);
  const auto shy = MakeFake<CFakeDeviceCallback>();
  CGate removed;
  removed.Shut();
  shy->onPicture = [&] {
    m_device->RemoveOutputCallback();
    removed.Open();
  };
  m_device->SetOutputCallback(shy.Get());
  m_device->Play();
  for (int i = 0; i < 4; ++i) Put(true);
  ++g_clock->ticks;
  removed.Pass();
  m_device->SetOutputCallback(m_sink.Get());
  TickAndAwait("v1");
  EXPECT_EQ(shy->Take(), (Events{"play", "v0"}));
  g_clock->stopping = true;
}

TEST_F(output_device, released_while_playing_with_frames_queued_leaves_nothing) {
  CreateWithAudio(2, 4);
  PlayFromFrame0(4);
  for (int i = 0; i < 4; ++i) Put(true);
  m_device.Reset();
  EXPECT_EQ(g_renderer->stops, 1);
  EXPECT_FALSE(m_sink->Has("stop"));
}

}  // namespace
