#include <random>

#include "tests/source_channel/SourceChannelTest.h"

namespace {

// Ends the program when the scope is not left in time: what hangs cannot be joined.
class CWatchdog {
 public:
  ~CWatchdog() {
    SetEvent(m_done);
    m_thread.join();
  }

 private:
  const HANDLE m_done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::thread m_thread{[this] {
    if (WaitForSingleObject(m_done, 4 * kTestDeadlineMs) != WAIT_OBJECT_0) std::abort();
    CloseHandle(m_done);
  }};
};

class StressTest : public SourceChannelTest {
 protected:
  using Random = std::mt19937;

  void Control(Random& random, UINT total) {
    const UINT position = random() % (total + 3);
    switch (random() % 8) {
      case 0:
        channel->Play(position, static_cast<int>(random() % 4) - 1);
        break;
      case 1:
        channel->Stop();
        EXPECT_EQ(Status(), RkSourceChannel_Stopped);
        break;
      case 2:
        channel->BeginSeek(random() % 2);
        break;
      case 3:
        channel->Seek(position, random() % 10);
        break;
      case 4:
        channel->EndSeek();
        break;
      case 5:
        channel->SetElementMode(random() % 2, random() % 2 != 0 ? random() % 20 : kRkNoPosition);
        break;
      case 6:
        channel->SetRepeatCount(static_cast<int>(random() % 4) - 1);
        break;
      default:
        for (const auto& element : elements) element->canOpen = random() % 8 != 0;
        break;
    }
  }

  void Set(Random& random) {
    const auto hook = MakeFake<CFakeHook>();
    const auto travelling = MakeFake<CFakePool>();  // lives as long as the sample that carries it
    hook->onSample = [travelling](IRkAVPlaySample* sample) { sample->SetAttachment(travelling.Get()); };
    channel->SetSampleProcessor(hook.Get());
    channel->SetPlayBufferPool(random() % 3 != 0 ? MakeFake<CFakePool>().Get() : nullptr);
    channel->SetVideoResolution(kTestVideo);
    channel->SetWaveFormatInfo(kTestAudio);
    if (random() % 4 == 0) channel->RemoveSampleProcessor();
    Position();
    channel->GetElementMode();
  }
};

TEST_F(StressTest, all_operations_from_several_threads_end_in_order) {
  const CWatchdog watchdog;
  for (const UINT seed : {1u, 2u, 3u, 4u}) {
    SCOPED_TRACE(seed);
    Build({7, 1, 20}, 1 + seed);
    std::atomic<bool> ended = false;
    std::thread consumer([&] {
      Random random(seed + 100);
      while (!ended) {
        const UINT taken = Take(random() % 6);
        EXPECT_TRUE(taken == kNothing || taken < 28) << taken;
      }
    });
    std::thread setter([&] {
      Random random(seed + 200);
      while (!ended) {
        Set(random);
        std::this_thread::yield();
      }
    });
    Random random(seed);
    for (int i = 0; i < 150; ++i) Control(random, 28);
    ended = true;
    consumer.join();
    setter.join();
    for (const auto& element : elements) element->canOpen = true;
    channel->Stop();
    EXPECT_TRUE(channel->Play(3, 1));
    TearDown();
  }
}

}  // namespace
