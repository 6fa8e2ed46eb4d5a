#include <random>

#include "tests/output_channel/OutputChannelTest.h"
#include "tests/platform/Watchdog.h"

namespace {

// Every operation from many threads at once, with lists of every kind coming and going.
class Stress : public OutputChannelTest {
 protected:
  using Random = std::minstd_rand;

  bool Enough() const { return m_loads >= 100 && m_delivered >= 30 && m_switched >= 5; }

  // The locks are not fair: who never lets go of them leaves none to the others.
  static void Pace() { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }

  void Deliver(Random&) {
    CRkRef<IRkAVPlaySample> sample;
    if (m_channel->GetSample(2, sample.Out())) {
      EXPECT_NE(NameOf(*sample), "?");
      ++m_delivered;
    }
    UINT status = 99;
    m_channel->SwitchChannel(&status);
    if (status == RkSwitchStatus_Switched) ++m_switched;
    EXPECT_NE(status, 99u);
    UINT position = 0;
    EXPECT_TRUE(m_channel->GetPosition(&position));
  }

  void Load(Random& random) {
    ++m_loads;
    const auto pick = [&](int below) { return static_cast<int>(random() % static_cast<UINT>(below)); };
    if (pick(10) == 0) {
      EXPECT_TRUE(m_channel->DeleteClip());
      return;
    }
    std::vector<Element> elements;
    for (int i = pick(3); i >= 0; --i) elements.push_back(MakeElement('A', static_cast<UINT>(pick(5) + 1)));
    if (pick(8) == 0) elements[0]->canOpen = false;
    if (pick(8) == 0) elements[0]->unreadableFrom = 0;
    if (pick(8) == 0) elements.push_back(elements[0]);
    if (pick(4) == 0) {
      m_channel->InsertClipElement(static_cast<IRkClipElement*>(elements[0].Get()), pick(4) - 1, 0);
    } else {
      Cue(elements, pick(4) - 1, static_cast<UINT>(pick(6)));
    }
  }

  void Control(Random& random) {
    Pace();
    switch (random() % 16) {
      case 0:
        EXPECT_TRUE(m_channel->Stop());
        break;
      case 1:
        m_channel->SwitchChannelAtOnce();
        break;
      case 2:
        m_channel->SetRepeatCount(2);
        break;
      case 3:
        m_notify->autoSwitch = !m_notify->autoSwitch;
        break;
      default:
        m_channel->Play();
    }
  }

  void Seek(Random& random) {
    Pace();
    const UINT mode = static_cast<UINT>(random() % 3);
    m_channel->SetElementMode(random() % 2 != 0, mode, random() % 2 != 0 ? 0 : kRkNoPosition);
    m_channel->GetElementMode(random() % 2 != 0);
    EXPECT_TRUE(m_channel->BeginSeek(mode));
    m_channel->Seek(static_cast<UINT>(random() % 4), 3);
    m_channel->EndSeek();
  }

  void Set(Random&) {
    Pace();
    m_channel->SetPlayBufferPool(MakeFake<CFakePool>().Get());
    m_channel->SetSampleProcessor(MakeFake<CFakeHook>().Get());
    m_channel->SetVideoResolution(kTestVideo);
    m_channel->SetWaveFormatInfo(kTestAudio);
    m_channel->RemoveSampleProcessor();
  }

  void Request(Random&) {
    UINT position = 0;
    m_channel->SwitchPlay(&position);
  }

  void RunAll() {
    const std::vector<void (Stress::*)(Random&)> roles = {&Stress::Deliver, &Stress::Load,   &Stress::Load,
                                                          &Stress::Control, &Stress::Seek,   &Stress::Set,
                                                          &Stress::Request, &Stress::Request};
    std::vector<std::thread> threads;
    for (size_t i = 0; i < roles.size(); ++i) {
      threads.emplace_back([this, i, role = roles[i]] {
        Random random(static_cast<UINT>(i + 1));
        while (!Enough()) (this->*role)(random);
      });
    }
    for (auto& thread : threads) thread.join();
  }

  std::atomic<int> m_loads = 0;
  std::atomic<int> m_delivered = 0;
  std::atomic<int> m_switched = 0;
};

TEST_F(Stress, no_pair_of_operations_blocks_another_or_loses_a_reference) {
  g_waits.switchPlayMs = 20;
  g_waits.preRollMs = 20;
  RunUnderWatchdog([this] { RunAll(); });

  m_notify->autoSwitch = true;
  // A request that was left standing, of a switch or of a position in either channel, is served now.
  for (int i = 0; i < 2; ++i) {
    m_channel->Stop();
    PlayList({MakeElement('A', 2)});
    Switch();
    PlayOut();
  }
  m_channel->Stop();
  PlayList({MakeElement('B', 2)});
  EXPECT_EQ(PlayOut(), "B0 B1 1 ") << "the channel is as good as new";
}

}  // namespace
