#include <random>

#include "tests/source_channel/SourceChannelTest.h"

namespace {

class StressTest : public SourceChannelTest {
 protected:
  using Random = std::mt19937;
  static constexpr UINT kTotal = 28;

  void Control(Random& random) {
    const UINT position = random() % (kTotal + 3);
    const int count = static_cast<int>(random() % 4) - 1;
    const std::function<void()> operations[] = {
        [&] { channel->Play(position, count); },
        [&] {
          channel->Stop();
          EXPECT_EQ(Status(), RkSourceChannel_Stopped);
        },
        [&] { channel->BeginSeek(random() % 2); },
        [&] { channel->Seek(position, random() % 10); },
        [&] { channel->EndSeek(); },
        [&] { channel->SetElementMode(random() % 2, random() % 2 != 0 ? random() % 20 : kRkNoPosition); },
        [&] { channel->SetRepeatCount(count); },
        [&] {
          for (const auto& element : elements) element->canOpen = random() % 8 != 0;
        }};
    operations[random() % std::size(operations)]();
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
    std::this_thread::yield();
  }

  void Run(UINT seed) {
    Build({7, 1, 20}, 1 + seed);
    std::atomic<bool> ended = false;
    std::thread consumer([&] {
      Random random(seed + 100);
      while (!ended) {
        const UINT taken = Take(random() % 6);
        EXPECT_TRUE(taken == kNothing || taken < kTotal) << taken;
      }
    });
    std::thread setter([&] {
      Random random(seed + 200);
      while (!ended) Set(random);
    });
    Random random(seed);
    for (int i = 0; i < 150; ++i) Control(random);
    ended = true;
    consumer.join();
    setter.join();
    for (const auto& element : elements) element->canOpen = true;
    channel->Stop();
    EXPECT_TRUE(channel->Play(3, 1));
    TearDown();
  }
};

TEST_F(StressTest, all_operations_from_several_threads_end_in_order) {
  for (const UINT seed : {1u, 2u, 3u, 4u}) {
    SCOPED_TRACE(seed);
    Run(seed);
  }
}

}  // namespace
