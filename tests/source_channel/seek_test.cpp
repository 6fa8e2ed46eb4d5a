#include "tests/source_channel/SourceChannelTest.h"

namespace {

class SeekTest : public SourceChannelTest {
 protected:
  // Paused, with nothing left over, and the worker within the first eight frames.
  void BuildPaused(const std::vector<UINT>& lengths, UINT cacheCapacity = 4) {
    Build(lengths, cacheCapacity);
    ASSERT_TRUE(channel->Play(0, 1));
    ExpectFrames(0, 2);
    ASSERT_TRUE(channel->BeginSeek(0));
    EXPECT_EQ(Take(0), kNothing);
  }
  // Exactly that frame comes.
  void ExpectSeek(UINT position) {
    ASSERT_TRUE(channel->Seek(position, kTestDeadlineMs)) << position;
    EXPECT_EQ(Take(0), position);
    EXPECT_EQ(Take(0), kNothing);
  }
};

TEST_F(SeekTest, paused_seeks_give_exactly_the_asked_frames) {
  BuildPaused({10, 10, 10});
  elements[1]->openGate.Shut();
  ASSERT_TRUE(channel->Seek(15, 0));
  ASSERT_TRUE(WaitUntil([&] { return elements[1]->openGate.SomebodyWaits(); }));
  EXPECT_EQ(elements[0]->closes, elements[0]->opens) << "the old element is closed before the next is opened";
  elements[1]->openGate.Open();
  EXPECT_EQ(Take(), 15u);
  for (const UINT position : {0u, 29u, 0u, 5u, 5u, 9u, 10u, 11u, 29u}) ExpectSeek(position);
  EXPECT_FALSE(channel->Seek(30, 0));
  EXPECT_FALSE(channel->Seek(kRkNoPosition, kTestDeadlineMs));
  EXPECT_EQ(elements[0]->opens, 3) << "an element that is being read is not opened again";
  EXPECT_EQ(elements[0]->closes, 3);
  channel->EndSeek();
  ExpectFrames(0, 30);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

TEST_F(SeekTest, a_seek_during_play_comes_after_what_was_cached_and_play_goes_on_behind_it) {
  Build({50000, 50000});
  ASSERT_TRUE(channel->Play(0, 1));
  ASSERT_TRUE(channel->Seek(99990, kTestDeadlineMs));
  UINT next = 0, taken = Take();
  for (; taken == next; taken = Take()) ++next;
  EXPECT_EQ(taken, 99990u);
  ExpectFrames(99991, 100000);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

// The frame asked for during play is on its way to the cache, held in the hook, when the pause comes.
TEST_F(SeekTest, a_pause_that_begins_while_a_position_is_served_leaves_nothing_of_it) {
  Build({100000});
  const auto hook = MakeFake<CFakeHook>();
  CGate gate;
  CRkRef<IRkAVPlaySample> cached;
  hook->onSample = [&](IRkAVPlaySample* sample) {
    if (sample->GetPosition() == 90000) gate.Pass();
    if (!cached) cached = CRkRef<IRkAVPlaySample>::Retain(sample);
  };
  channel->SetSampleProcessor(hook.Get());
  gate.Shut();
  ASSERT_TRUE(channel->Play(0, -1));
  ASSERT_TRUE(channel->Seek(90000, kTestDeadlineMs));
  ASSERT_TRUE(WaitUntil([&] { return gate.SomebodyWaits(); }));
  ASSERT_TRUE(channel->Seek(70000, 0));  // the pause discards it
  {
    CBlockedCall begin([&] { channel->BeginSeek(0); });
    EXPECT_TRUE(WaitUntil([&] { return References(*cached) == 1; })) << "the cache was not emptied";
    gate.Open();
  }
  EXPECT_EQ(Take(0), kNothing);
  ExpectSeek(7);
}

TEST_F(SeekTest, a_late_answer_to_an_earlier_seek_does_not_end_the_wait_for_a_later_one) {
  BuildPaused({100});
  for (UINT i = 10; i < 30 && !HasFailure(); i += 2) {
    elements[0]->readGate.Shut();
    EXPECT_FALSE(channel->Seek(i, 1));
    ASSERT_TRUE(WaitUntil([&] { return elements[0]->readGate.SomebodyWaits(); }));
    {
      CBlockedCall later([&] {
        EXPECT_TRUE(channel->Seek(i + 1, kTestDeadlineMs));
        EXPECT_EQ(Take(0), i);
        EXPECT_EQ(Take(0), i + 1);
      });
      elements[0]->readGate.Open();
    }
  }
}

TEST_F(SeekTest, a_frame_that_was_read_longer_than_a_pause_waits_does_not_come_out_after_it) {
  Build({500});
  ASSERT_TRUE(channel->Play(0, -1));
  HoldRead(*elements[0]);
  waits.pauseMs = 1;
  channel->BeginSeek(0);  // runs into its time-out
  EXPECT_EQ(Take(0), kNothing);
  waits.pauseMs = kTestDeadlineMs;
  ASSERT_TRUE(channel->Seek(300, 0));
  elements[0]->readGate.Open();
  EXPECT_EQ(Take(), 300u);
  ExpectSeek(200);
}

TEST_F(SeekTest, an_asked_element_that_cannot_be_opened_leaves_the_worker_answering) {
  BuildPaused({10, 10, 10});
  elements[1]->canOpen = false;
  EXPECT_FALSE(channel->Seek(15, 50));
  EXPECT_TRUE(WaitUntil([&] { return elements[0]->closes == elements[0]->opens; }));
  EXPECT_FALSE(channel->Seek(16, 50));
  ExpectSeek(25);
  EXPECT_FALSE(channel->Seek(15, 50));
  channel->EndSeek();
  channel->BeginSeek(0);
  elements[1]->canOpen = true;
  ExpectSeek(15);
  channel->EndSeek();
  ExpectFrames(16, 30);
}

TEST_F(SeekTest, a_frame_with_another_position_or_none_is_not_acknowledged) {
  BuildPaused({10});
  elements[0]->positionError = 1;
  EXPECT_FALSE(channel->Seek(5, 50));
  EXPECT_EQ(Take(), 6u);
  elements[0]->positionError = 0;
  elements[0]->unreadableFrom = 8;
  EXPECT_FALSE(channel->Seek(8, 50));
  EXPECT_EQ(Take(0), kNothing);
  ExpectSeek(5);
}

TEST_F(SeekTest, a_new_run_knows_nothing_of_the_pauses_and_seeks_before_it) {
  BuildPaused({100});
  ExpectSeek(50);
  ASSERT_TRUE(channel->Play(20, 1));
  ExpectFrames(20, 25);
  channel->BeginSeek(0);
  for (int i = 0; i < 2; ++i) {
    channel->Stop();
    ASSERT_TRUE(channel->Seek(15, 0));  // no worker runs: it stays with the orders
    channel->Stop();
    ASSERT_TRUE(channel->Play(3, 1));
    ExpectFrames(3, 9);
  }
}

// A request that waits while another is served leaves no idle pass between them.
TEST_F(SeekTest, the_hook_hears_whole_seconds_between_seeks_without_an_idle_pass) {
  BuildPaused({100});
  const auto hook = MakeFake<CFakeHook>();
  channel->SetSampleProcessor(hook.Get());
  const auto pass = [](ULONGLONG ms) {
    const ULONGLONG begin = GetTickCount64();
    EXPECT_TRUE(WaitUntil([=] { return GetTickCount64() - begin > ms; }));
  };
  const auto served = [&](size_t count) {
    EXPECT_TRUE(WaitUntil([&] { return hook->Intervals().size() == count; }));
  };
  CGate secondSeek;
  hook->onSample = [&](IRkAVPlaySample* sample) {
    if (sample->GetPosition() == 50) channel->Seek(60, 0);
    if (sample->GetPosition() == 60) secondSeek.Pass();
  };
  secondSeek.Shut();
  ASSERT_TRUE(channel->Seek(50, 0));
  ASSERT_TRUE(WaitUntil([&] { return secondSeek.SomebodyWaits(); }));
  pass(1000);
  secondSeek.Open();
  served(2);
  pass(1000);
  ASSERT_TRUE(channel->Seek(70, 0));
  served(3);
  const auto intervals = hook->Intervals();
  EXPECT_EQ(intervals[0], 0u);
  EXPECT_GE(intervals[1], 1u);
  EXPECT_LT(intervals[1], 1000u) << "whole seconds";
  EXPECT_EQ(intervals[2], 0u) << "an idle pass ends the count";
  channel->RemoveSampleProcessor();
}

TEST_F(SeekTest, the_hook_sees_every_sample_before_it_is_delivered_and_each_served_seek) {
  Build({3, 7});
  const auto hook = MakeFake<CFakeHook>();
  channel->SetSampleProcessor(hook.Get());
  ASSERT_TRUE(channel->Play(0, 1));
  ExpectFrames(0, 10);
  const std::vector<UINT> seen = hook->Positions();
  ASSERT_GE(seen.size(), 10u);
  for (UINT i = 0; i < 10; ++i) EXPECT_EQ(seen[i], i);
  channel->BeginSeek(0);
  for (UINT i = 0; i < 5; ++i) ExpectSeek(i * 2);
  EXPECT_TRUE(WaitUntil([&] { return hook->Intervals().size() == 5; }));
  EXPECT_EQ(hook->Intervals()[0], 0u);
}

}  // namespace
