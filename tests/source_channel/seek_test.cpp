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

TEST_F(SeekTest, a_full_cache_is_refilled_several_places_at_a_time_but_a_seek_waits_for_one) {
  Build({50000}, 8);
  const auto hook = MakeFake<CFakeHook>();
  channel->SetSampleProcessor(hook.Get());
  const auto seen = [&](size_t count) { return [&, count] { return hook->Positions().size() == count; }; };
  ASSERT_TRUE(channel->Play(0, 1));
  ASSERT_TRUE(WaitUntil(seen(9))) << "eight cached and one on its way";
  ExpectFrames(0, 2);
  ASSERT_TRUE(WaitUntil(seen(11)));
  ExpectFrames(2, 3);
  ASSERT_TRUE(channel->Seek(40000, kTestDeadlineMs)) << "nobody makes more room";
  EXPECT_EQ(Position(), 2u);
  channel->RemoveSampleProcessor();
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

// A request that waits while another is served leaves no idle pass between them.
TEST_F(SeekTest, the_hook_receives_whole_seconds_between_seeks_without_an_idle_pass) {
  waits.seekUnitMs = 20;
  BuildPaused({100});
  const auto hook = MakeFake<CFakeHook>();
  channel->SetSampleProcessor(hook.Get());
  const auto passTwoUnits = [] {
    const ULONGLONG begin = GetTickCount64();
    EXPECT_TRUE(WaitUntil([=] { return GetTickCount64() - begin > 40; }));
  };
  CGate secondSeek;
  hook->onSample = [&](IRkAVPlaySample* sample) {
    if (sample->GetPosition() == 50) channel->Seek(60, 0);
    if (sample->GetPosition() == 60) secondSeek.Pass();
  };
  secondSeek.Shut();
  ASSERT_TRUE(channel->Seek(50, 0));
  ASSERT_TRUE(WaitUntil([&] { return secondSeek.SomebodyWaits(); }));
  const ULONGLONG begin = GetTickCount64();
  passTwoUnits();
  secondSeek.Open();
  ASSERT_TRUE(WaitUntil([&] { return hook->Intervals().size() == 2; }));
  const auto mostUnits = (GetTickCount64() - begin) / waits.seekUnitMs + 1;
  passTwoUnits();
  ASSERT_TRUE(channel->Seek(70, 0));
  ASSERT_TRUE(WaitUntil([&] { return hook->Intervals().size() == 3; }));
  const auto intervals = hook->Intervals();
  EXPECT_EQ(intervals[0], 0u);
  EXPECT_GE(intervals[1], 2u);
  EXPECT_LE(intervals[1], mostUnits + 1) << "whole units";
  EXPECT_EQ(intervals[2], 0u) << "an idle pass ends the count";
  channel->RemoveSampleProcessor();
}

TEST_F(SeekTest, a_mode_never_moves_an_element_under_a_read_and_moves_it_afterwards) {
  Build({100, 200}, 4);
  ASSERT_TRUE(channel->Play(100, 1));
  ExpectFrames(100, 104);
  elements[1]->readGate.Shut();
  while (Take(0) != kNothing) {
  }
  HoldRead(*elements[1]);
  waits.pauseMs = 1;
  channel->SetElementMode(3, 150);  // runs into its time-out
  EXPECT_TRUE(elements[1]->Seeks().empty());
  elements[1]->readGate.Open();
  ExpectFrames(250, 260);
}

}  // namespace
