#include "tests/source_channel/SourceChannelTest.h"
#include "tests/support/RkLogRecorder.h"

namespace {

using PlayStopTest = SourceChannelTest;

TEST_F(PlayStopTest, a_single_element_is_opened_once_and_sought_back_to_its_start) {
  Build({7}, 3);
  ASSERT_TRUE(channel->Play(3, 3));
  ExpectFrames(3, 7);
  for (int pass = 0; pass < 2; ++pass) ExpectFrames(0, 7);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
  EXPECT_EQ(elements[0]->opens, 1);
  EXPECT_EQ(elements[0]->closes, 0);
  for (UINT i = 0; i < elements[0]->Seeks().size(); ++i) EXPECT_EQ(elements[0]->Seeks()[i], i == 0 ? 3u : 0u);
}

TEST_F(PlayStopTest, waits_last_as_long_as_documented) {
  EXPECT_EQ(waits.frameMs, 1u);
  EXPECT_EQ(waits.preRollMs, 1000u);
  EXPECT_EQ(waits.pauseMs, 1000u);
  EXPECT_EQ(waits.stopMs, 100000u);
  EXPECT_EQ(waits.closeMs, 1000u);
  EXPECT_EQ(waits.switchPlayMs, 5000u);
  EXPECT_EQ(waits.seekUnitMs, 1000u);
}

TEST_F(PlayStopTest, a_start_past_the_end_is_refused_logged_and_disturbs_nothing) {
  Build({4, 1});
  ASSERT_TRUE(channel->Play(2, 1));
  CLogRecorder log;
  EXPECT_FALSE(channel->Play(5, 9));
  EXPECT_FALSE(channel->Play(kRkNoPosition, 1));
  CRkRef<IRkClipElement> found;
  EXPECT_TRUE(channel->GetElementAtPosition(3, found.Out()) && found.Get() == elements[0].Get());
  EXPECT_TRUE(channel->GetElementAtPosition(4, found.Out()) && found.Get() == elements[1].Get());
  const std::wstring line = L"CRkClipSourceChannel::Play initialized now\n";
  EXPECT_EQ(log.Messages(L"CRkClipSourceChannel::Play"), (std::vector{line, line}));
  ExpectFrames(2, 5);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

TEST_F(PlayStopTest, a_consumer_across_stop_and_play_gets_the_new_run_from_its_start_on) {
  constexpr UINT kNewStart = 50000;
  Build({100000}, 3);
  for (int round = 0; round < 10; ++round) {
    std::atomic<bool> stopped = false;
    std::atomic<int> oldTaken = 0, newTaken = 0;
    ASSERT_TRUE(channel->Play(0, -1));
    std::thread consumer([&] {
      UINT next = 0;
      while (newTaken < 5) {
        const bool begunAfterStop = stopped;
        const UINT taken = Take();
        if (taken >= kNewStart && next < kNewStart) next = kNewStart;
        EXPECT_TRUE(!begunAfterStop || taken >= kNewStart) << taken;
        EXPECT_EQ(taken, next++);
        ++(taken < kNewStart ? oldTaken : newTaken);
      }
    });
    EXPECT_TRUE(WaitUntil([&] { return oldTaken > round % 4; }));
    channel->Stop();
    EXPECT_EQ(Status(), RkSourceChannel_Stopped);
    EXPECT_EQ(Position(), 0u);
    stopped = true;
    EXPECT_TRUE(channel->Play(kNewStart, -1));
    consumer.join();
    channel->Stop();
  }
}

TEST_F(PlayStopTest, a_sample_that_is_read_longer_than_a_stop_waits_is_not_delivered) {
  Build({100});
  ASSERT_TRUE(channel->Play(0, 1));
  HoldRead(*elements[0]);
  waits.stopMs = 1;
  channel->Stop();  // runs into its time-out
  elements[0]->readGate.Open();
  EXPECT_TRUE(WaitUntil([&] { return elements[0]->closes == 1; }));
  EXPECT_EQ(Take(0), kNothing);
  waits.stopMs = kTestDeadlineMs;
}

TEST_F(PlayStopTest, pause_move_and_stop_return_while_no_element_can_be_opened) {
  Build({3, 4});
  for (const auto& element : elements) element->canOpen = false;
  waits.preRollMs = waits.pauseMs = 1;
  ASSERT_TRUE(channel->Play(0, 1));
  channel->SetElementMode(1, 2);
  EXPECT_TRUE(channel->BeginSeek(0));
  const ULONGLONG begin = GetTickCount64();
  channel->Stop();
  EXPECT_LT(GetTickCount64() - begin, kTestDeadlineMs);
  for (const auto& element : elements) element->canOpen = true;
  ASSERT_TRUE(channel->Play(1, 1));
  ExpectFrames(1, 7);
}

TEST_F(PlayStopTest, an_element_taken_out_of_the_list_does_not_end_it) {
  Build({8}, 2);
  ASSERT_TRUE(channel->Play(0, 1));
  ASSERT_TRUE(WaitUntil([&] { return elements[0]->reads >= 3; }));
  EXPECT_TRUE(channel->ForwardListOperation(0));
  EXPECT_FALSE(channel->ForwardListOperation(0));
  ExpectFrames(0, 8);
  EXPECT_EQ(Status(), RkSourceChannel_Playing);
  EXPECT_TRUE(WaitUntil([&] { return elements[0]->closes == 1; }));
  EXPECT_EQ(Take(0), kNothing);
}

}  // namespace
