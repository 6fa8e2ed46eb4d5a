// Plays through the machine's sound card. The script beside it runs this program with a sound server of its
// own, records what the card plays into the file RK_SOUND_RECORDING, and stops the server while the file
// RK_SOUND_FREEZE is there.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "module/RkClipPlay.h"
#include "tests/support/RkFakes.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr SRkVideoResolution kVideo = {64, 36, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0};
constexpr SRkWaveFormatInfo kAudio = RkMakeWaveFormat(2, 48000, 16);
constexpr double kFrameMs = 40.0;

// From the first byte that is not silent to the last.
std::string SoundIn(const std::string& stream) {
  const size_t first = stream.find_first_not_of('\0');
  return first == std::string::npos ? "" : stream.substr(first, stream.find_last_not_of('\0') - first + 1);
}

// What the card has played since the recording had `from` bytes, once it has been silent for a second.
std::string Recorded(size_t from) {
  std::string stream;
  WaitUntil([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    std::ifstream file(std::getenv("RK_SOUND_RECORDING"), std::ios::binary);
    stream.assign(std::istreambuf_iterator<char>(file.seekg(static_cast<std::streamoff>(from))), {});
    const size_t last = stream.find_last_not_of('\0');
    return last != std::string::npos && stream.size() - last > kAudio.bytesPerSecond;
  });
  return SoundIn(stream);
}

// Keeps the sound that renderers are given and counts their play position over its wraps.
class CMonitor final : public CFake<IRkAudioMonitor> {
 public:
  void OnRenderer(IRkAudioDirectSound* renderer, const SRkWaveFormatInfo&) override { m_renderer = renderer; }
  void OnSound(const BYTE* data, DWORD bytes) override {
    std::lock_guard lock(m_mutex);
    m_sound.append(reinterpret_cast<const char*>(data), bytes);
  }
  std::string Sound() {
    std::lock_guard lock(m_mutex);
    return SoundIn(m_sound);
  }
  double PositionMs() {
    double now = m_position;
    m_renderer->GetPlayPosition(&now);
    if (now < m_position) m_wrappedMs += m_renderer->GetBufferDuration();
    m_position = now;
    return m_wrappedMs + now;
  }

 private:
  IRkAudioDirectSound* m_renderer = nullptr;  // the device's
  double m_position = 0.0;
  double m_wrappedMs = 0.0;
  std::mutex m_mutex;
  std::string m_sound;
};

// Notes how late each picture is against the sound.
class CLipSync final : public CFake<IRkSoftwareOutputCallback> {
 public:
  explicit CLipSync(CMonitor& monitor) : m_monitor(monitor) {}
  void OnPlay() override {}
  void OnAudioSample(IRkAudioSample*, IRkUnknown*) override {}
  void OnVideoSample(IRkVideoSample* video) override {
    if (video != nullptr) m_lateMs.push_back(m_monitor.PositionMs() - video->GetFrameIndex() * kFrameMs);
  }
  void OnStop() override {}

  double MedianLateMs() {
    std::nth_element(m_lateMs.begin(), m_lateMs.begin() + m_lateMs.size() / 2, m_lateMs.end());
    return m_lateMs[m_lateMs.size() / 2];
  }

 private:
  CMonitor& m_monitor;
  std::vector<double> m_lateMs;
};

class DirectSound : public testing::Test {
 protected:
  DirectSound() { RkSelectAudioSystem(RkAudioSystem_System, m_monitor.Get()); }
  ~DirectSound() override { RkSelectAudioSystem(RkAudioSystem_System, nullptr); }

  void PlayTwoLists() {
    CRkRef<IRkClipOutputChannel> channel;
    CRkRef<IRkSoftwareOutputDevice> device;
    ASSERT_EQ(RkCreateClipOutputChannel(2, 8, kVideo, kAudio, nullptr, nullptr, channel.Out()), 1);
    ASSERT_EQ(RkCreateSoftwareOutputDevice(kVideo, kAudio, nullptr, 3, device.Out()), 1);
    ASSERT_TRUE(device->SetOutputCallback(m_lipSync.Get()));
    device->Play();
    for (int list = 0; list < 2; ++list) {
      CRkRef<IRkClipElement> clip;
      ASSERT_EQ(RkCreatePatternClipElement(50, clip.Out()), 1);
      ASSERT_TRUE(channel->InsertClipElement(clip.Get(), 1, 0));
      ASSERT_TRUE(list == 1 || channel->Play());
    }
    for (UINT status = RkSwitchStatus_Playing; status != RkSwitchStatus_Ended;) {
      CRkRef<IRkAVPlaySample> sample;
      ASSERT_TRUE(channel->GetSample(kTestDeadlineMs, sample.Out()) && device->PutSample(sample.Get()));
      channel->SwitchChannel(&status);
    }
    device->Stop(FALSE);
  }

  BOOL CreateRenderer() { return RkCreateAudioDirectSound(kAudio, nullptr, 1000.0, 0, m_renderer.Out()); }

  // Has the script stop the sound server, or let it go on.
  void SwitchServer() {
    const std::filesystem::path freeze = std::getenv("RK_SOUND_FREEZE");
    std::ofstream(freeze).put('\n');
    ASSERT_TRUE(WaitUntil([&] { return !std::filesystem::exists(freeze); }));
  }

  CRkRef<CMonitor> m_monitor = MakeFake<CMonitor>();
  CRkRef<CLipSync> m_lipSync = MakeFake<CLipSync>(*m_monitor);
  CRkRef<IRkAudioDirectSound> m_renderer;
};

TEST_F(DirectSound, card_plays_two_lists_whole_and_pictures_keep_to_the_sound) {
  const auto recordedBefore = std::filesystem::file_size(std::getenv("RK_SOUND_RECORDING")) & ~3ULL;
  PlayTwoLists();
  const std::string sound = m_monitor->Sound();
  const std::string recorded = Recorded(recordedBefore);
  EXPECT_GT(sound.size(), 3 * kAudio.bytesPerSecond);
  // A machine too busy to serve the card in time puts silence into the sound, and then loses some.
  const std::string gap(48 * kAudio.blockAlign, '\0');
  if (recorded.find(gap) != std::string::npos) GTEST_SKIP() << "The machine is too busy to play without gaps";
  EXPECT_TRUE(recorded == sound) << recorded.size() << " bytes recorded of " << sound.size() << " given";
  EXPECT_LT(std::abs(m_lipSync->MedianLateMs()), 20.0);
}

TEST_F(DirectSound, frozen_sound_server_holds_up_no_stop) {
  ASSERT_TRUE(CreateRenderer() && m_renderer->Play());
  SwitchServer();
  const auto begin = Clock::now();
  m_renderer->Stop();
  m_renderer.Reset();
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
  CreateRenderer();  // fails in bounded time
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(12));
  SwitchServer();
  EXPECT_TRUE(WaitUntil([&] { return CreateRenderer(); }));
}

}  // namespace
