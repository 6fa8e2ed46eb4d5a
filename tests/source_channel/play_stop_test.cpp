#include "tests/source_channel/SourceChannelTest.h"

namespace {

using PlayStopTest = SourceChannelTest;

TEST_F(PlayStopTest, play_begins_inside_an_element_and_reads_the_others_from_their_first_frame) {
  Build({10, 10, 10});
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
  ASSERT_TRUE(channel->Play(14, 2));
  EXPECT_EQ(Position(), 14u);
  EXPECT_EQ(Status(), RkSourceChannel_Playing);
  ExpectFrames(14, 30);
  EXPECT_EQ(Position(), 29u);
  EXPECT_EQ(Status(), RkSourceChannel_Playing);
  ExpectFrames(0, 30);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
  EXPECT_EQ(elements[1]->Seeks(), std::vector<UINT>{4});
  EXPECT_TRUE(elements[0]->Seeks().empty() && elements[2]->Seeks().empty());
}

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

TEST_F(PlayStopTest, a_start_past_the_end_is_refused_logged_and_disturbs_nothing) {
  std::atomic<int> lines = 0;
  RkLog_SetSink(
      [](void* context, ERkLogMsgLevel level, const wchar_t* line) {
        const std::wstring text = line;
        const bool expected = level == RkLogLevel_Debug &&
                              text.rfind(L"[CRkClipSourceChannel::Play,", 0) == 0 &&
                              text.find(L"]CRkClipSourceChannel::Play initialized now\n") != text.npos;
        if (expected) ++*static_cast<std::atomic<int>*>(context);
      },
      &lines);
  Build({});
  EXPECT_FALSE(channel->Play(0, 1));
  EXPECT_EQ(lines, 1);
  RkLog_SetSink(nullptr, nullptr);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
  elements.push_back(MakeFake<CFakeElement>(5));
  ASSERT_TRUE(channel->InsertElement(0, elements[0].Get()));
  ASSERT_TRUE(channel->Play(2, 1));
  EXPECT_FALSE(channel->Play(5, 9));
  EXPECT_FALSE(channel->Play(kRkNoPosition, 1));
  ExpectFrames(2, 5);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

TEST_F(PlayStopTest, nothing_is_left_after_a_stop_that_met_a_blocked_put) {
  Build({50}, 3);
  ASSERT_TRUE(channel->Play(0, -1));
  ASSERT_TRUE(WaitUntil([&] { return elements[0]->reads >= 4; }));
  EXPECT_EQ(Take(), 0u);
  EXPECT_TRUE(channel->Stop());
  EXPECT_EQ(Take(0), kNothing);
  EXPECT_EQ(Position(), 0u);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
  EXPECT_EQ(elements[0]->opens, elements[0]->closes);
  ASSERT_TRUE(channel->Play(5, 1));
  ExpectFrames(5, 50);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped) << "the count of the run before must be gone";
}

TEST_F(PlayStopTest, nothing_is_left_after_a_stop_that_met_a_blocked_read) {
  Build({500});
  ASSERT_TRUE(channel->Play(0, -1));
  HoldRead(*elements[0]);
  {
    CBlockedCall stop([&] { channel->Stop(); });
    elements[0]->readGate.Open();
  }
  EXPECT_EQ(Take(0), kNothing);
  ASSERT_TRUE(channel->Play(40, 1));
  ExpectFrames(40, 60);
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

TEST_F(PlayStopTest, play_on_a_playing_channel_restarts_exactly) {
  Build({100, 100}, 3);
  for (UINT start = 0; start < 150; start += 10) {
    ASSERT_TRUE(channel->Play(start, 1));
    EXPECT_EQ(Status(), RkSourceChannel_Playing);
    ExpectFrames(start, start + 1 + start % 3);
  }
}

TEST_F(PlayStopTest, the_latest_play_holds_when_several_met_a_blocked_read) {
  Build({500});
  ASSERT_TRUE(channel->Play(0, -1));
  HoldRead(*elements[0]);
  EXPECT_TRUE(channel->Play(50, 1));
  EXPECT_TRUE(channel->Play(480, 1));
  EXPECT_EQ(Position(), 480u);
  elements[0]->readGate.Open();
  ExpectFrames(480, 500);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

TEST_F(PlayStopTest, an_element_that_cannot_be_opened_is_skipped) {
  Build({3, 4, 5});
  elements[1]->canOpen = false;
  ASSERT_TRUE(channel->Play(0, 1));
  ExpectFrames(0, 3);
  ExpectFrames(7, 12);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
  EXPECT_EQ(elements[1]->closes, 0);
  ASSERT_TRUE(channel->Play(5, 1)) << "a start inside it";
  ExpectFrames(7, 12);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

TEST_F(PlayStopTest, stop_and_seek_modes_return_while_no_element_can_be_opened) {
  Build({3, 4});
  for (const auto& element : elements) element->canOpen = false;
  ASSERT_TRUE(channel->Play(0, 1));
  channel->SetElementMode(1, 2);
  EXPECT_TRUE(channel->BeginSeek(0));
  channel->EndSeek();
  EXPECT_EQ(Take(0), kNothing);
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

TEST_F(PlayStopTest, settings_reach_the_next_element_that_is_opened) {
  Build({2, 2}, 1);
  ASSERT_TRUE(channel->Play(0, -1));
  const SRkClipFormat first = elements[0]->FormatAtOpen();
  EXPECT_EQ(first.video.width, kTestVideo.width);
  EXPECT_EQ(first.audio.samplesPerSecond, kTestAudio.samplesPerSecond);
  EXPECT_EQ(elements[0]->poolAtOpen, nullptr);

  SRkVideoResolution video = kTestVideo;
  video.width = 128;
  const auto pool = MakeFake<CFakePool>();
  channel->SetVideoResolution(video);
  channel->SetWaveFormatInfo(RkMakeWaveFormat(1, 44100, 16));
  EXPECT_TRUE(channel->SetPlayBufferPool(pool.Get()));
  EXPECT_EQ(References(*pool), 2u);
  ExpectFrames(0, 4);
  EXPECT_EQ(Take(), 0u);
  const SRkClipFormat next = elements[0]->FormatAtOpen();
  EXPECT_EQ(next.video.width, 128);
  EXPECT_EQ(next.audio.samplesPerSecond, 44100u);
  EXPECT_EQ(elements[0]->poolAtOpen, pool.Get());

  EXPECT_FALSE(channel->SetPlayBufferPool(nullptr));
  channel->Stop();
  EXPECT_EQ(References(*pool), 1u);
}

// Uses the pool it is given, as hooks do.
class CPoolHook : public CFakeHook {
 public:
  void ProcessSample(IRkAVPlaySample* sample, IRkPlayBufferPool* pool) override {
    EXPECT_TRUE(pool == nullptr || ::References(*pool) > 0);
    CFakeHook::ProcessSample(sample, pool);
  }
};

TEST_F(PlayStopTest, hook_and_pool_may_be_replaced_during_play_by_a_host_that_keeps_neither) {
  Build({20}, 2);
  ASSERT_TRUE(channel->Play(0, -1));
  for (UINT i = 0; i < 300; ++i) {
    EXPECT_TRUE(channel->SetPlayBufferPool(MakeFake<CFakePool>().Get()));
    EXPECT_TRUE(channel->SetSampleProcessor(MakeFake<CPoolHook>().Get()));
    EXPECT_EQ(Take(), i % 20);
  }
  EXPECT_TRUE(WaitUntil([] { return g_liveFakes == 1 + 2; })) << "the element, one pool and one hook";
  channel->RemoveSampleProcessor();
  EXPECT_TRUE(WaitUntil([] { return g_liveFakes == 1 + 1; }));
}

TEST_F(PlayStopTest, the_hook_sees_every_sample_in_order_before_it_is_delivered) {
  Build({3, 4});
  const auto hook = MakeFake<CFakeHook>();
  EXPECT_TRUE(channel->SetSampleProcessor(hook.Get()));
  EXPECT_FALSE(channel->SetSampleProcessor(nullptr));
  ASSERT_TRUE(channel->Play(0, 1));
  ExpectFrames(0, 7);
  const std::vector<UINT> seen = hook->Positions();
  ASSERT_GE(seen.size(), 7u);
  for (UINT i = 0; i < 7; ++i) EXPECT_EQ(seen[i], i);
}

TEST_F(PlayStopTest, list_operations_reach_the_list) {
  Build({3, 4});
  EXPECT_EQ(channel->GetElementCount(), 2);
  EXPECT_FALSE(channel->InsertElement(0, elements[0].Get()));
  CRkRef<IRkClipElement> found;
  EXPECT_TRUE(channel->GetElementAtPosition(3, found.Out()));
  EXPECT_EQ(found.Get(), elements[1].Get());
  EXPECT_FALSE(channel->GetElementAtPosition(7, found.Out()));
  EXPECT_EQ(channel->Activate() + channel->Reserved(), 0u);
  EXPECT_TRUE(channel->RemoveAllElements());
  EXPECT_EQ(channel->GetElementCount(), 0);
  EXPECT_EQ(channel->GetElementMode(), 0u);
  EXPECT_EQ(References(*elements[0]), 1u);
}

}  // namespace
