#include <gtest/gtest.h>

#include "tests/libraries/kernel/AudioRendererFakes.h"

namespace {

class audio_system : public testing::Test {
 protected:
  ~audio_system() override { RkSelectAudioSystem(RkAudioSystem_System, nullptr); }

  int Create(const SRkWaveFormatInfo& format = kTestAudio) {
    return RkCreateAudioDirectSound(format, nullptr, 1000.0, 0, m_renderer.Out());
  }

  CRkRef<CSoundRecorder> m_monitor = MakeFake<CSoundRecorder>();
  CRkRef<IRkAudioDirectSound> m_renderer;
};

TEST_F(audio_system, none_and_an_unknown_one_make_the_creation_fail) {
  for (const int system : {2, 3, -1}) {
    RkSelectAudioSystem(static_cast<ERkAudioSystem>(system), m_monitor.Get());
    EXPECT_FALSE(Create() || m_renderer);
  }
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
  m_renderer->SetNotifyInterval(1000.0 / 62);
  m_renderer->WriteSample(MakeSound(0, 48000).Get(), 0);
  ASSERT_TRUE(m_renderer->Play());
  for (double position = 0.0; position < 50.0; m_renderer->GetPlayPosition(&position))
    ASSERT_TRUE(m_renderer->WaitForNotify(kTestDeadlineMs));
  m_renderer->Stop();
  EXPECT_EQ(m_monitor->Created(), 1);
  EXPECT_FALSE(m_monitor->Heard().empty());  // how much of it depends on what else the machine does
}
#endif

}  // namespace
