#include "tests/source_channel/SourceChannelTest.h"

namespace {

constexpr UINT kCapacity = 24;

// The length in nearly equal elements.
std::vector<UINT> Split(UINT length, UINT parts) {
  std::vector<UINT> lengths;
  for (; parts > 0; --parts) {
    lengths.push_back(length / parts);
    length -= lengths.back();
  }
  return lengths;
}

// One channel, its elements and one way to consume it; many of them play side by side.
void PlayToTheEnd(UINT length, int passes, UINT parts, bool startFull) {
  SCOPED_TRACE(testing::Message() << length << " frames x " << passes << " in " << parts << ", full "
                                  << startFull);
  std::vector<CRkRef<CFakeElement>> elements;
  CRkRef<IRkClipSourceChannel> channel;
  ASSERT_EQ(RkCreateClipSourceChannel(1, kCapacity, kTestVideo, kTestAudio, nullptr, channel.Out()), 1);
  std::atomic<UINT> read = 0;
  const auto hook = MakeFake<CFakeHook>();
  hook->onSample = [&](IRkAVPlaySample*) { ++read; };
  channel->SetSampleProcessor(hook.Get());
  for (const UINT frames : Split(length, parts)) {
    elements.push_back(MakeFake<CFakeElement>(frames));
    channel->InsertElement(static_cast<UINT>(elements.size() - 1), elements.back().Get());
  }
  ASSERT_TRUE(channel->Play(0, passes));
  ASSERT_TRUE(WaitUntil([&] { return !startFull || read > kCapacity; }));

  // After the end the list goes on and ends again with every further pass.
  const UINT total = length * static_cast<UINT>(passes);
  for (UINT taken = 0; taken < total + 2 * length; ++taken) {
    CRkRef<IRkAVPlaySample> sample;
    ASSERT_TRUE(channel->GetSample(kTestDeadlineMs, sample.Out()));
    ASSERT_EQ(sample->GetPosition(), taken % length);
    UINT status = 0;
    channel->GetStatus(&status);
    const bool ends = taken + 1 >= total && (taken + 1) % length == 0;
    ASSERT_EQ(status, ends ? RkSourceChannel_Stopped : RkSourceChannel_Playing) << "after " << taken + 1;
  }
}

class RepeatTest : public testing::TestWithParam<UINT> {};

TEST_P(RepeatTest, a_list_ends_with_the_last_frame_of_the_last_pass_and_neither_before_nor_after) {
  const UINT length = GetParam();
  std::vector<std::thread> plays;
  for (const int passes : {1, 2, 3, 7}) {
    for (UINT parts = 1; parts <= std::min(3u, length); ++parts) {
      for (const bool startFull : {false, true}) {
        plays.emplace_back([=] { PlayToTheEnd(length, passes, parts, startFull); });
      }
    }
  }
  for (auto& play : plays) play.join();
  EXPECT_EQ(g_liveFakes, 0);
}

INSTANTIATE_TEST_SUITE_P(Frames, RepeatTest, testing::Values(1, 2, 3, 5, 24, 25, 26, 60));

// The worker is just ahead of the consumer, or ahead by many passes.
class RepeatCountTest : public SourceChannelTest, public testing::WithParamInterface<UINT> {
 protected:
  void Start(int passes) {
    Build({4, 6}, GetParam());
    ASSERT_TRUE(channel->Play(0, passes));
  }
  // Plays on until that many frames have been taken, the last of which ends the list.
  void ExpectEndAfter(UINT frames) {
    for (; m_taken < frames; ++m_taken) {
      ASSERT_EQ(Take(), m_taken % 10);
      ASSERT_EQ(Status() == RkSourceChannel_Stopped, m_taken + 1 == frames) << m_taken;
    }
  }
  void TakeFrames(UINT count) {
    for (const UINT end = m_taken + count; m_taken < end; ++m_taken) ASSERT_EQ(Take(), m_taken % 10);
    EXPECT_EQ(Status(), RkSourceChannel_Playing);
  }

 private:
  UINT m_taken = 0;
};

TEST_P(RepeatCountTest, more_passes_asked_for_during_play_are_played) {
  Start(1);
  TakeFrames(5);
  channel->SetRepeatCount(3);
  ExpectEndAfter(30);
  channel->SetRepeatCount(5);
  ExpectEndAfter(50);
  ExpectEndAfter(60);  // goes on behind the end without counting
  channel->SetRepeatCount(6);
  ExpectEndAfter(70);
  channel->SetRepeatCount(8);
  ExpectEndAfter(90);
}

TEST_P(RepeatCountTest, fewer_passes_than_delivered_end_with_the_pass_under_way) {
  Start(7);
  TakeFrames(25);
  channel->SetRepeatCount(0);
  ExpectEndAfter(30);
}

TEST_P(RepeatCountTest, endless_play_does_not_count_and_ends_when_a_count_comes) {
  Start(-1);
  TakeFrames(35);
  channel->SetRepeatCount(2);
  ExpectEndAfter(50);
}

TEST_P(RepeatCountTest, a_counted_play_made_endless_goes_on) {
  Start(2);
  TakeFrames(15);
  channel->SetRepeatCount(kRkRepeatEndless);
  TakeFrames(20);
  channel->SetRepeatCount(2);
  ExpectEndAfter(40);
}

TEST_P(RepeatCountTest, a_count_below_one_plays_once_and_a_new_play_counts_afresh) {
  Start(-5);
  ExpectEndAfter(10);
  channel->Stop();
  ASSERT_TRUE(channel->Play(7, 2));
  ExpectFrames(7, 10);
  EXPECT_EQ(Status(), RkSourceChannel_Playing);
  ExpectFrames(0, 10);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

INSTANTIATE_TEST_SUITE_P(Ahead, RepeatCountTest, testing::Values(2, 100));

}  // namespace
