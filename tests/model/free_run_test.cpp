// Four unsynchronised threads. Their result cannot be predicted, but it must be the lists in the order of
// their loads, each from its start without a gap or a repeat, with one notification at a time. RK_MODEL_SEED
// draws another run, RK_MODEL_STEPS makes it longer (in samples).

#include <map>
#include <mutex>

#include "tests/model/ModelList.h"
#include "tests/output_channel/OutputChannelTest.h"

namespace {

class FreeRun : public OutputChannelTest {
 protected:
  void RunAll(UINT seed, int samples) {
    m_notify->onFree = m_notify->onEnd = [this](BOOL) {
      EXPECT_EQ(m_inSink.fetch_add(1), 0) << "two notifications at once";
      --m_inSink;
    };
    const std::vector<void (FreeRun::*)(CModelRandom&)> roles = {&FreeRun::Deliver, &FreeRun::Edit,
                                                                 &FreeRun::Take, &FreeRun::Set};
    std::vector<std::thread> threads;
    threads.reserve(roles.size());
    for (const auto role : roles) {
      threads.emplace_back([this, role, seed, samples] {
        CModelRandom random(seed);
        while (m_delivered < samples || m_switches < samples / 20) (this->*role)(random);
      });
    }
    for (auto& thread : threads) thread.join();
  }

 private:
  // The locks are not fair: a thread that retakes them immediately starves the others.
  static void Pace() { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }

  void Deliver(CModelRandom&) {
    CRkRef<IRkAVPlaySample> sample;
    if (m_channel->GetSample(2, sample.Out())) ExpectNext(CModelElement::FrameOf(*sample));
    UINT status = 99;
    m_channel->SwitchChannel(&status);
    if (status == RkSwitchStatus_Switched) ++m_switches;
  }

  void ExpectNext(const SModelFrame& frame) {
    std::lock_guard lock(m_mutex);
    ++m_delivered;
    EXPECT_GE(frame.list, m_onAir) << "a list that has gone";
    const auto& list = m_loaded.at(frame.list);
    if (frame.list != m_onAir) m_next = list.First();
    m_onAir = frame.list;
    EXPECT_EQ(frame, list.frames[m_next]);
    m_next = (m_next + 1) % list.frames.size();
    m_loaded.erase(m_loaded.begin(), m_loaded.find(frame.list));
  }

  void Edit(CModelRandom& random) {
    if (random.OneIn(8)) {
      EXPECT_TRUE(m_channel->DeleteClip());
      return;
    }
    const SModelList list = random.MakeList(3, 6, 0);
    {
      std::lock_guard lock(m_mutex);
      m_loaded[list.number] = list;
      m_loaded[list.number].elements.clear();
    }
    EXPECT_TRUE(CueAll(list.elements, list.repeatCount, list.start));
    Pace();
  }

  void Take(CModelRandom& random) {
    Pace();
    UINT position = 0;
    if (random.OneIn(20)) {
      EXPECT_TRUE(m_channel->Stop());
    } else if (random.OneIn(2)) {
      m_channel->SwitchPlay(&position);
    } else if (m_channel->SwitchChannelAtOnce()) {
      ++m_switches;
    }
  }

  void Set(CModelRandom& random) {
    Pace();
    m_notify->autoSwitch = random.OneIn(2);
    m_channel->SetRepeatCount(static_cast<int>(random.Below(4)) - 1);
    m_channel->SetPlayBufferPool(MakeFake<CFakePool>().Get());
    m_channel->SetSampleProcessor(MakeFake<CFakeHook>().Get());
    m_channel->SetElementMode(random.OneIn(2), 0, kRkNoPosition);  // the mode they have
    UINT position = 0;
    EXPECT_TRUE(m_channel->GetPosition(&position));
  }

  std::mutex m_mutex;
  std::map<UINT, SModelList> m_loaded;  // guarded by m_mutex; not those before the one on air
  UINT m_onAir = 0;                     // deliverer only, as the next
  size_t m_next = 0;
  std::atomic<int> m_delivered = 0, m_switches = 0, m_inSink = 0;
};

TEST_F(FreeRun, lists_come_whole_and_in_order_whatever_the_threads_do) {
  m_waits.switchPlayMs = 20;
  m_waits.preRollMs = 20;
  const UINT seed = Setting("RK_MODEL_SEED", 1);
  const int samples = static_cast<int>(Setting("RK_MODEL_STEPS", 500));
  RunAll(seed, samples);
  m_notify->onFree = m_notify->onEnd = nullptr;
  if (HasFailure()) ADD_FAILURE() << "drawn with RK_MODEL_SEED=" << seed;
}

}  // namespace
