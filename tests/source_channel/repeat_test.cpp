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
  std::atomic<UINT> read = 0;  // also while the channel goes
  CRkRef<IRkClipSourceChannel> channel;
  ASSERT_EQ(RkCreateClipSourceChannel(1, kCapacity, kTestVideo, kTestAudio, nullptr, channel.Out()), 1);
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

struct SCounts {
  int passes;                                 // asked for at the start
  std::vector<std::pair<UINT, int>> changes;  // after so many frames, to that many passes
  std::vector<UINT> ends;                     // after so many frames the list has ended
};

const SCounts kCounts[] = {
    {1, {{5, 3}, {30, 5}, {60, 6}, {70, 8}}, {30, 50, 60, 70, 90}},  // goes on to 60 without counting
    {7, {{25, 0}}, {30}},                                            // to fewer than were played
    {-1, {{35, 2}}, {50}},                                           // what is endless does not count
    {2, {{15, -1}, {35, 2}}, {40}},
    {-5, {}, {10}},
};

// The worker is just ahead of the consumer, or ahead by many passes.
class RepeatCountTest : public SourceChannelTest, public testing::WithParamInterface<UINT> {};

TEST_P(RepeatCountTest, a_count_that_changes_during_play_holds_from_there_on) {
  Build({4, 6}, GetParam());
  for (const SCounts& counts : kCounts) {
    SCOPED_TRACE(counts.passes);
    ASSERT_TRUE(channel->Play(0, counts.passes));
    auto change = counts.changes.begin();
    for (UINT taken = 1; taken <= counts.ends.back(); ++taken) {
      ASSERT_EQ(Take(), (taken - 1) % 10);
      const bool ends = std::count(counts.ends.begin(), counts.ends.end(), taken) > 0;
      ASSERT_EQ(Status(), ends ? RkSourceChannel_Stopped : RkSourceChannel_Playing) << "after " << taken;
      if (change != counts.changes.end() && change->first == taken) channel->SetRepeatCount(change++->second);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Ahead, RepeatCountTest, testing::Values(2, 100));

}  // namespace
