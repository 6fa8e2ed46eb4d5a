#include <gtest/gtest.h>

#include "tests/libraries/kernel/AudioRendererFakes.h"

namespace {

class audio_system : public testing::Test {
 protected:
  ~audio_system() override { RkSelectAudioSystem(RkAudioSystem_System, nullptr); }

  int Create(const SRkWaveFormatInfo& format = kTestAudio, DWORD startBytes = 4 * kPartBytes) {
    return RkCreateAudioDirectSound(format, nullptr, 1000.0, startBytes, m_renderer.Out());
  }
  // Half a second of sound, its rest handed over by the stop.
  void PlayThrough() {
    m_renderer->SetNotifyInterval(1000.0 / 62);
    ULONGLONG written = 0;
    for (; written < kSoundBytes; written += kPartBytes)
      m_renderer->WriteSample(MakeSound(written, kPartBytes).Get(), written);
    ASSERT_TRUE(m_renderer->Play());
    double position = 0.0;
    while (position < 50.0) {
      ASSERT_TRUE(m_renderer->WaitForNotify(kTestDeadlineMs));
      const double last = position;
      m_renderer->GetPlayPosition(&position);
      ASSERT_GE(position, last);
    }
    m_renderer->Stop();
    m_renderer.Reset();
  }

  static constexpr DWORD kPartBytes = 480 * 4;
  static constexpr DWORD kSoundBytes = 50 * kPartBytes;
  CRkRef<CSoundRecorder> m_monitor = MakeFake<CSoundRecorder>();
  CRkRef<IRkAudioDirectSound> m_renderer;
};

TEST_F(audio_system, none_and_an_unknown_one_make_the_creation_fail) {
  for (const int system : {2, 3, -1}) {
    RkSelectAudioSystem(static_cast<ERkAudioSystem>(system), m_monitor.Get());
    EXPECT_FALSE(Create());
    EXPECT_FALSE(m_renderer);
  }
  EXPECT_EQ(m_monitor->Created(), 0);
}

TEST_F(audio_system, a_virtual_one_is_heard_from_the_first_byte_to_the_last) {
  RkSelectAudioSystem(RkAudioSystem_Virtual, m_monitor.Get());
  ASSERT_TRUE(Create());
  RkSelectAudioSystem(RkAudioSystem_None, nullptr);  // for renderers to come only
  PlayThrough();
  const auto heard = m_monitor->Heard();
  EXPECT_EQ(heard, StreamThenSilence(kSoundBytes, heard.size()));
  EXPECT_EQ(m_monitor->Created(), 1);
}

#ifndef _WIN32
TEST_F(audio_system, the_machines_own_plays_and_is_refused_without_a_driver) {
  RkSelectAudioSystem(RkAudioSystem_System, m_monitor.Get());
  setenv("SDL_AUDIODRIVER", "there is no such driver", 1);
  EXPECT_FALSE(Create());
  setenv("SDL_AUDIODRIVER", "dummy", 1);
  EXPECT_FALSE(Create(RkMakeWaveFormat(2, 48000, 24)));
  EXPECT_FALSE(Create(RkMakeWaveFormat(258, 48000, 16)));
  ASSERT_TRUE(Create());
  PlayThrough();
  EXPECT_EQ(m_monitor->Created(), 1);
  EXPECT_FALSE(m_monitor->Heard().empty());  // how much of it depends on what else the machine does
}
#endif

}  // namespace
