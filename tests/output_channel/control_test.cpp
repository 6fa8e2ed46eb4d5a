#include "output_channel/RkOutputChannelLog.h"
#include "tests/output_channel/OutputChannelTest.h"
#include "tests/support/RkBlockedCall.h"

namespace {

using namespace RkOutputChannelLog;
using Control = OutputChannelTest;

TEST_F(Control, without_a_sink_the_waiting_list_follows_at_once) {
  Create(nullptr);
  ASSERT_TRUE(Cue('A', 2));
  ASSERT_TRUE(m_channel->Play());
  ASSERT_TRUE(Cue('B', 2));
  EXPECT_EQ(PlayOut(), "A0 A1 4 B0 B1 1 ");
}

TEST_F(Control, a_sink_may_stop_the_channel_when_it_hears_of_the_end) {
  m_notify->onEnd = [this](BOOL ended) {
    if (ended) m_channel->Stop();
  };
  PlayList({MakeElement('A', 1)});
  EXPECT_EQ(PlayOut(), "A0 1 ");
  EXPECT_EQ(m_notify->Take(), (Events{"ended", "free", "ended"}));
  EXPECT_TRUE(m_channel->Stop());
  EXPECT_EQ(m_notify->Take(), (Events{"free", "ended"}));
  m_notify->onEnd = nullptr;
  PlayList({MakeElement('B', 1)});
  EXPECT_EQ(PlayOut(), "B0 1 ");
}

TEST_F(Control, a_sink_may_cue_when_the_waiting_channel_is_free) {
  char name = 'B';
  m_notify->onFree = [&](BOOL free) {
    if (free) Cue(name++, 9);
  };
  ASSERT_TRUE(Cue('A', 9));
  EXPECT_TRUE(m_channel->Play());
  EXPECT_EQ(m_notify->Take(), (Events{"loading", "free", "loading", "started"}));
  EXPECT_TRUE(m_channel->SwitchChannelAtOnce());
  EXPECT_EQ(m_notify->Take(), (Events{"free", "loading"}));
  EXPECT_EQ(TakeSample(), "B0");
  EXPECT_TRUE(m_channel->Stop());
  EXPECT_EQ(m_notify->Take(), (Events{"free", "loading", "ended"}));
  EXPECT_TRUE(m_channel->Play());  // what was cued while stopping
  EXPECT_EQ(TakeSample(), "D0");
  m_notify->onFree = nullptr;
}

TEST_F(Control, a_switch_and_a_mode_wait_until_a_load_is_done) {
  const std::function<void()> calls[] = {[&] { EXPECT_EQ(Switch(), RkSwitchStatus_Switched); },
                                         [&] { EXPECT_TRUE(m_channel->SwitchChannelAtOnce()); },
                                         [&] { m_channel->SetElementMode(FALSE, 5, kRkNoPosition); }};
  for (const auto& call : calls) {
    PlayList({MakeElement('A', 9)}, kRkRepeatEndless);
    const auto last = MakeElement('b', 1);
    const auto slow = MakeFake<CScriptedList>(std::vector{MakeElement('B', 1), last});
    slow->nextGate.Shut();
    auto load = std::async(std::launch::async, [&] {
      return m_channel->InsertClipElement(static_cast<IRkClipElementList*>(slow.Get()), 1, 0);
    });
    ASSERT_TRUE(WaitUntil([&] { return slow->nextGate.SomebodyWaits(); }));
    LeaveRequest();
    {
      CBlockedCall meeting(call);
      slow->nextGate.Open();
    }
    EXPECT_TRUE(load.get());
    if (&call == &calls[2]) {
      EXPECT_EQ(last->GetMode(), 5u);
    } else {
      EXPECT_EQ(PlayOut(), "B0 b1 1 ");
    }
    m_channel->Stop();
  }
}

TEST_F(Control, banners_frame_what_an_operation_logs) {
  PlayList({MakeElement('A', 9)});
  CLogRecorder log;
  TakeSample();
  Cue('B', 9, 1, 9);
  const auto twice = MakeElement('B', 9);
  Cue({twice, twice});
  m_channel->InsertClipElement(static_cast<IRkClipElement*>(nullptr), 1, 0);
  m_channel->DeleteClip();
  LeaveRequest();
  m_channel->Seek(99, 0);
  auto answer = RequestSwitch();
  EXPECT_EQ(Switch(), RkSwitchStatus_Playing);
  EXPECT_EQ(answer.get(), 0);
  std::wstring told;
  for (const auto& line : log.Lines()) {
    const size_t message = line.text.find(L"[TID: ");
    const bool traced = message != std::wstring::npos;
    // The lines of the source channel and of SwitchChannel do not matter here.
    if (traced && line.text.find(L"CRkClipOutputChannel") != 1) continue;
    if (line.text.find(L"::SwitchChannel,") != std::wstring::npos) continue;
    EXPECT_EQ(line.level, RkLogLevel_Debug);
    told += traced ? line.text.substr(line.text.find(L']', message) + 1) : line.text;
  }
  const auto framed = [](const std::wstring& name, const std::wstring& message = {}) {
    const std::wstring banner = L" ------>CRkClipOutputChannel::" + name + L"<------\n";
    return L"enter" + banner + message + L"leave" + banner;
  };
  EXPECT_EQ(told, framed(L"GetSample", L"0") + framed(L"InsertClipElement", kInsertPlayFailed.message) +
                      framed(L"InsertClipElement", kInsertInsertFailed.message) +
                      framed(L"InsertClipElement") + framed(L"DeleteClip") +
                      framed(L"SwitchPlay", kSwitchPlayFailed.message) + framed(L"Seek") +
                      framed(L"SwitchPlay", kSwitchPlayDone.message));
}

}  // namespace
