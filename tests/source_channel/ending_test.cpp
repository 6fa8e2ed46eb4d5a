#include "tests/source_channel/SourceChannelTest.h"
#include "tests/support/RkLogRecorder.h"

namespace {

enum EFault { kCannotOpen, kIsEmpty, kEndsEarly, kIsUnlimited };

constexpr UINT kFirst = 3;   // frames of the first element
constexpr UINT kSecond = 2;  // frames that the second one gives, where it gives any

// A list whose last element never gives its end mark; the frames of one pass.
class EndingTest : public SourceChannelTest, public testing::WithParamInterface<EFault> {
 protected:
  UINT BuildList() {
    const EFault fault = GetParam();
    Build({kFirst, fault == kIsEmpty ? 0 : fault == kIsUnlimited ? kRkNoPosition : kSecond + 1});
    elements[1]->canOpen = fault != kCannotOpen;
    if (fault == kEndsEarly || fault == kIsUnlimited) elements[1]->unreadableFrom = kSecond;
    return fault == kEndsEarly || fault == kIsUnlimited ? kFirst + kSecond : kFirst;
  }
};

TEST_P(EndingTest, an_end_that_is_found_after_its_last_frame_was_taken_ends_a_wait_for_more) {
  const UINT length = BuildList();
  const auto hook = MakeFake<CFakeHook>();
  hook->onSample = [&](IRkAVPlaySample* sample) {
    if (sample->GetPosition() + 1 != length) return;
    elements[1]->openGate.Shut();
    elements[1]->readGate.Shut();
    elements[0]->openGate.Shut();
  };
  channel->SetSampleProcessor(hook.Get());
  ASSERT_TRUE(channel->Play(0, 1));
  ExpectFrames(0, length);
  EXPECT_EQ(Status(), RkSourceChannel_Playing);
  {
    CBlockedCall take([this] { EXPECT_EQ(Take(), kNothing); });
    elements[1]->openGate.Open();
    elements[1]->readGate.Open();
  }
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
  elements[0]->openGate.Open();
  ExpectFrames(0, 2);
  EXPECT_EQ(Status(), RkSourceChannel_Playing);
}

INSTANTIATE_TEST_SUITE_P(Faults, EndingTest,
                         testing::Values(kCannotOpen, kIsEmpty, kEndsEarly, kIsUnlimited));

using NothingTest = SourceChannelTest;

TEST_F(NothingTest, a_list_that_gives_no_frame_stops_and_an_endless_one_takes_no_core) {
  Build({3, 4});
  for (const auto& element : elements) element->canOpen = false;
  waits.preRollMs = 1;
  CLogRecorder log;
  ASSERT_TRUE(channel->Play(1, 1000000));
  EXPECT_TRUE(WaitUntil([this] { return Status() == RkSourceChannel_Stopped; }));
  EXPECT_TRUE(log.Heard(L"no element of the list gives a frame\n"));

  const ULONGLONG begin = GetTickCount64();
  const int tries = elements[0]->openTries;
  ASSERT_TRUE(channel->Play(0, -1));
  EXPECT_TRUE(WaitUntil([&] { return elements[0]->openTries > tries + 50; }));
  channel->Stop();
  EXPECT_LE(elements[0]->openTries - tries, static_cast<int>(GetTickCount64() - begin) + 3);
}

TEST_F(NothingTest, a_list_that_loses_its_files_during_play_ends_with_its_last_frame) {
  Build({3}, 8);
  ASSERT_TRUE(channel->Play(0, 1000));
  ExpectFrames(0, 3);
  elements[0]->unreadableFrom = 0;
  UINT last = 0;
  for (UINT taken = Take(); taken != kNothing; taken = Take()) last = taken;
  EXPECT_LT(last, 3u);
  EXPECT_EQ(Status(), RkSourceChannel_Stopped);
}

TEST_F(NothingTest, an_unlimited_element_fills_the_whole_pre_roll_and_may_be_asked_for_any_position) {
  preRollCount = 5;
  waits.preRollMs = kTestDeadlineMs;
  Build({2, kRkNoPosition});
  ASSERT_TRUE(channel->Play(0, 1));
  for (UINT frame = 0; frame < preRollCount; ++frame) EXPECT_EQ(Take(0), frame);
  channel->BeginSeek(0);
  EXPECT_TRUE(channel->Seek(kRkNoPosition - 1, kTestDeadlineMs));
  EXPECT_EQ(Take(0), kRkNoPosition - 1);
  EXPECT_FALSE(channel->Seek(kRkNoPosition, 0));
  EXPECT_FALSE(channel->Play(kRkNoPosition, 1));
}

struct SPreRoll {
  UINT frames, start;
  int passes;
  UINT target;
};

// 25 samples, or those up to the end of the last pass, counted in 32 bits.
const SPreRoll kPreRolls[] = {
    {10, 4, 2, 16}, {100, 90, 1, 10}, {10, 0, -1, 25}, {100, 0, 1, 25}, {0x80000000u, 0, 2, 1},
};

TEST_F(NothingTest, play_returns_when_the_pre_roll_is_there_and_not_before) {
  preRollCount = 25;
  waits.preRollMs = INFINITE;
  for (const SPreRoll& row : kPreRolls) {
    SCOPED_TRACE(testing::Message() << row.frames << " from " << row.start);
    elements.clear();
    Build({row.frames});
    const auto hook = MakeFake<CFakeHook>();
    CGate lastWanted, beyond;
    UINT seen = 0;
    hook->onSample = [&](IRkAVPlaySample*) {
      if (++seen == row.target) lastWanted.Pass();
      if (seen > row.target) beyond.Pass();
    };
    channel->SetSampleProcessor(hook.Get());
    lastWanted.Shut();
    beyond.Shut();
    {
      CBlockedCall play([&] { EXPECT_TRUE(channel->Play(row.start, row.passes)); });
      EXPECT_TRUE(WaitUntil([&] { return lastWanted.SomebodyWaits(); }));
      EXPECT_FALSE(play.IsDone());
      lastWanted.Open();
      EXPECT_TRUE(WaitUntil([&] { return play.IsDone(); }));
      beyond.Open();
    }
    channel.Reset();
  }
}

}  // namespace
