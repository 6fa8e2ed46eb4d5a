#include <cstring>

#include "tests/output_channel/OutputChannelTest.h"
#include "tests/support/RkBlockedCall.h"

namespace {

// Operations that overlap at the worst moment.
using Meeting = OutputChannelTest;

TEST_F(Meeting, a_load_holds_up_neither_delivery_nor_an_idle_look_nor_the_playing_list) {
  m_notify->autoSwitch = false;
  PlayList({MakeElement('A', 4)});
  m_waits.preRollMs = kTestDeadlineMs;
  const auto slow = MakeElement('B', 2);
  slow->openGate.Shut();
  CBlockedCall load([&] { EXPECT_TRUE(Cue({slow})); });
  ASSERT_TRUE(WaitUntil([&] { return slow->openGate.SomebodyWaits(); }));
  EXPECT_EQ(TakeSample(), "A0");
  EXPECT_EQ(Switch(), RkSwitchStatus_Playing);
  EXPECT_EQ(m_channel->GetElementMode(TRUE), 0u);
  m_channel->SetElementMode(TRUE, 5, 1);
  EXPECT_EQ(m_channel->GetElementMode(TRUE), 5u);
  EXPECT_TRUE(m_channel->BeginSeek(5));
  EXPECT_TRUE(m_channel->Seek(2, kTestDeadlineMs));
  EXPECT_EQ(TakeSample(), "A2");
  m_channel->EndSeek();
  m_channel->SetVideoResolution(kTestVideo);
  m_channel->SetWaveFormatInfo(kTestAudio);
  m_channel->SetPlayBufferPool(nullptr);
  m_channel->RemoveSampleProcessor();
  EXPECT_EQ(PlayOut(), "A3 5 ");
  EXPECT_EQ(Switch(), RkSwitchStatus_AwaitingSwitch);
  EXPECT_FALSE(load.IsDone());

  slow->openGate.Open();
  load.Join();
  m_notify->autoSwitch = true;
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  EXPECT_EQ(PlayOut(), "B0 B1 1 ");
}

TEST_F(Meeting, a_change_of_roles_waits_for_a_delivery_in_progress) {
  const auto slow = MakeElement('A', 9);
  PlayList({slow});
  ASSERT_TRUE(Cue('B', 9));
  slow->readGate.Shut();
  CRkRef<IRkAVPlaySample> drained;
  while (m_channel->GetSample(20, drained.Out())) {
  }
  std::string delivered;
  CBlockedCall delivery([&] { delivered = TakeSample(); });
  CBlockedCall change([&] { EXPECT_TRUE(m_channel->SwitchChannelAtOnce()); });
  EXPECT_FALSE(delivery.IsDone());
  EXPECT_FALSE(change.IsDone());
  slow->readGate.Open();
  EXPECT_TRUE(WaitUntil([&] { return delivery.IsDone() && change.IsDone(); }));
  EXPECT_EQ(delivered[0], 'A');
  EXPECT_EQ(TakeSample(), "B0");
}

TEST_F(Meeting, the_end_of_a_list_does_not_wait_for_a_worker_that_reads_on) {
  const auto first = MakeElement('A', 2);
  const auto hook = MakeFake<CFakeHook>();
  CGate nextPass;
  nextPass.Shut();
  hook->onSample = [&](IRkAVPlaySample* sample) {
    if (NameOf(*sample) == "A0" && first->reads > 2) nextPass.Pass();
  };
  m_channel->SetSampleProcessor(hook.Get());
  PlayList({first});
  ASSERT_TRUE(Cue('B', 1));
  EXPECT_EQ(TakeSamples(2), "A0 A1 ");
  ASSERT_TRUE(WaitUntil([&] { return nextPass.SomebodyWaits(); }));
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  EXPECT_EQ(PlayOut(), "B0 1 ");
  nextPass.Open();
  m_channel->Stop();
}

// The first request has timed out and is being answered while the second is raised.
TEST_F(Meeting, a_request_raised_while_an_older_one_is_answered_waits_for_its_own_answer) {
  PlayList({MakeElement('A', 9)});
  ASSERT_TRUE(Cue('B', 9, 1, 4));
  EXPECT_EQ(TakeSample(), "A0");
  LeaveRequest();
  std::future<int> second;
  m_notify->onFree = [&](BOOL) { second = RequestSwitch(); };
  const UINT before = m_waits.switchPlays;
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  m_notify->onFree = nullptr;
  const auto answered = [&] { return second.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
  EXPECT_TRUE(WaitUntil([&] { return m_waits.switchPlays == before + 2 || answered(); }));
  EXPECT_FALSE(answered()) << "with what the first was told";
  EXPECT_EQ(TakeSamples(2), "B4 B5 ");
  EXPECT_EQ(Switch(), RkSwitchStatus_Playing);
  EXPECT_EQ(second.get(), 5);
}

TEST_F(Meeting, the_next_load_of_either_channel_opens_with_the_new_settings) {
  const SRkVideoResolution video = {128, 72, RkPixelFormat_I420, 4, RkFrameRate_50, 6, 7, 8, 9};
  const SRkWaveFormatInfo audio = RkMakeWaveFormat(6, 44100, 24);
  m_channel->SetVideoResolution(video);
  m_channel->SetWaveFormatInfo(audio);
  const auto pool = MakeFake<CFakePool>();
  m_channel->SetPlayBufferPool(pool.Get());
  const auto hook = MakeFake<CFakeHook>();
  EXPECT_TRUE(m_channel->SetSampleProcessor(hook.Get()));
  EXPECT_EQ(References(*pool), 4u) << "the Seeking channel has every setting too";
  EXPECT_EQ(References(*hook), 4u);
  m_channel->RemoveSampleProcessor();
  EXPECT_EQ(References(*hook), 1u);
  for (int i = 0; i < 2; ++i) {
    const auto element = MakeElement('A', 2);
    ASSERT_TRUE(Cue({element}));
    ASSERT_TRUE(m_channel->SwitchChannelAtOnce());
    EXPECT_EQ(element->poolAtOpen, pool.Get());
    EXPECT_EQ(std::memcmp(&element->formatAtOpen.video, &video, sizeof(video)), 0);
    EXPECT_EQ(std::memcmp(&element->formatAtOpen.audio, &audio, sizeof(audio)), 0);
  }
  m_channel->SetPlayBufferPool(nullptr);
  EXPECT_EQ(References(*pool), 1u);
}

}  // namespace
