#include "tests/output_channel/OutputChannelTest.h"

namespace {

constexpr wchar_t kFunction[] = L"CRkClipOutputChannel::SwitchChannel";
constexpr wchar_t kRequest[] = L"CRkClipOutputChannel::SwitchChannel: has a switch request!\n";
constexpr wchar_t kAtOnce[] =
    L"CRkClipOutputChannel::SwitchChannel: Will success to switch Playing channel and Waiting channel at "
    L"once!\n";
constexpr wchar_t kNothing[] =
    L"CRkClipOutputChannel::SwitchChannel Error: the Waiting Channel does not exist!!!!\n";
constexpr wchar_t kStopped[] = L"CRkClipOutputChannel::SwitchChannel: the Playing channel has stopped now!\n";
constexpr wchar_t kNext[] =
    L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is not empty, so to switch Playing channel "
    L"and Waiting channel!\n";
constexpr wchar_t kEnd[] =
    L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is empty, so to end the playback!\n";

struct SRow {
  bool stopped, automatic, request, waiting;
  UINT status;
  BOOL result;
  bool handled;  // the request
  Events events;
  Messages messages;
};

const SRow kTable[] = {
    {false, true, false, false, 2, TRUE, false, {}, {}},
    {false, true, false, true, 2, TRUE, false, {}, {}},
    {false, true, true, true, 4, TRUE, true, {"free"}, {kRequest, kAtOnce}},
    {false, false, true, true, 4, TRUE, true, {"free"}, {kRequest, kAtOnce}},
    {false, true, true, false, 2, FALSE, true, {}, {kRequest, kNothing}},
    {true, false, false, false, 5, TRUE, false, {}, {kStopped}},
    {true, false, false, true, 5, TRUE, false, {}, {kStopped}},
    {true, false, true, true, 4, TRUE, true, {"free"}, {kStopped, kNext}},
    {true, false, true, false, 1, FALSE, true, {"ended"}, {kStopped, kEnd}},
    {true, true, false, true, 4, TRUE, false, {"free"}, {kStopped, kNext}},
    {true, true, true, true, 4, TRUE, false, {"free"}, {kStopped, kNext}},
    {true, true, false, false, 1, FALSE, false, {"ended"}, {kStopped, kEnd}},
    {true, true, true, false, 1, FALSE, false, {"ended"}, {kStopped, kEnd}},
};

class SwitchingTable : public OutputChannelTest {
 protected:
  // List A of three frames is on air, two or all of them taken; list B waits to begin at its frame 1.
  void Arrange(const SRow& row) {
    Create(m_notify.Get());
    m_notify->autoSwitch = row.automatic;
    m_notify->autoSwitchAsked = 0;
    PlayList({m_old = MakeElement('A', 3)});
    EXPECT_EQ(TakeSamples(row.stopped ? 3 : 2), row.stopped ? "A0 A1 A2 " : "A0 A1 ");
    if (row.waiting) {
      EXPECT_TRUE(Cue('B', 9, 1, 1));
    }
    m_notify->Take();
  }

  // A request that was not handled stands until a list plays, and then finds its position.
  int ServeLater(std::future<int>& answer) {
    m_notify->autoSwitch = true;
    if (Switch() == RkSwitchStatus_Ended) {
      EXPECT_TRUE(Cue('B', 9, 1, 1));
      EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
      EXPECT_EQ(Switch(), RkSwitchStatus_Playing);
    }
    return answer.get();
  }

  void Check(const SRow& row) {
    Arrange(row);
    std::future<int> answer;
    if (row.request) answer = RequestSwitch();
    const int lastPosition = row.stopped ? 2 : 1;

    UINT status = 99;
    CLogRecorder log;
    EXPECT_EQ(m_channel->SwitchChannel(&status), row.result);
    EXPECT_EQ(status, row.status);
    EXPECT_EQ(log.Messages(kFunction), row.messages);
    EXPECT_EQ(m_notify->Take(), row.events);
    EXPECT_EQ(m_notify->autoSwitchAsked, row.stopped ? 1 : 0);
    if (row.request && row.handled) {
      EXPECT_EQ(answer.get(), lastPosition);
    } else if (row.request) {
      EXPECT_EQ(ServeLater(answer), 1);
    }
    if (row.status == RkSwitchStatus_Switched) {
      EXPECT_EQ(TakeSamples(2), "B1 B2 ");
      EXPECT_FALSE(m_channel->SwitchChannelAtOnce()) << "the old list is still in the Waiting channel";
      if (!row.stopped) {
        EXPECT_EQ(m_old->closes, 1) << "a list that is cut off must be stopped";
      }
    } else if (!row.stopped) {
      EXPECT_EQ(TakeSample(), "A2");
    }
    m_old.Reset();
  }

  Element m_old;
};

TEST_F(SwitchingTable, every_row_does_what_it_says) {
  for (const SRow& row : kTable) {
    SCOPED_TRACE(testing::Message() << "stopped " << row.stopped << ", automatic " << row.automatic
                                    << ", request " << row.request << ", waiting " << row.waiting);
    Check(row);
  }
}

TEST_F(SwitchingTable, the_end_of_a_list_does_not_wait_for_a_worker_that_reads_on) {
  const auto hook = MakeFake<CFakeHook>();
  CGate nextPass;
  nextPass.Shut();
  std::atomic<int> read = 0;
  hook->onSample = [&](IRkAVPlaySample* sample) {
    if (NameOf(*sample)[0] == 'A' && ++read > 2) nextPass.Pass();
  };
  m_channel->SetSampleProcessor(hook.Get());
  PlayList({MakeElement('A', 2)});
  ASSERT_TRUE(Cue('B', 1));
  EXPECT_EQ(TakeSamples(2), "A0 A1 ");
  ASSERT_TRUE(WaitUntil([&] { return nextPass.SomebodyWaits(); }));
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  EXPECT_EQ(PlayOut(), "B0 1 ");
  nextPass.Open();
  m_channel->Stop();
}

}  // namespace
