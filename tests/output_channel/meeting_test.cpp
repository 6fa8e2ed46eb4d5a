#include "tests/output_channel/OutputChannelTest.h"
#include "tests/support/RkAsleep.h"

namespace {

// What happens when an operation meets another, made to meet at the worst moment.
class Meeting : public OutputChannelTest {
 protected:
  // A load that goes no further than its element's Open until the gate is opened.
  std::future<BOOL> BeginLoad(const Element& element) {
    g_waits.preRollMs = kTestDeadlineMs;
    element->openGate.Shut();
    auto load = std::async(std::launch::async, [this, element] {
      const BOOL loaded = m_channel->InsertClipElement(static_cast<IRkClipElement*>(element.Get()), 1, 0);
      m_loadDone = true;
      return loaded;
    });
    EXPECT_TRUE(WaitUntil([&] { return element->openGate.SomebodyWaits(); }));
    return load;
  }

  std::atomic<bool> m_loadDone = false;
};

TEST_F(Meeting, a_load_holds_up_neither_delivery_nor_an_idle_look_nor_the_playing_list) {
  m_notify->autoSwitch = false;
  PlayList({MakeElement('A', 4)});
  const auto slow = MakeElement('B', 2);
  auto load = BeginLoad(slow);
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
  EXPECT_FALSE(m_loadDone);

  slow->openGate.Open();
  EXPECT_TRUE(load.get());
  m_notify->autoSwitch = true;
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  EXPECT_EQ(PlayOut(), "B0 B1 1 ");
}

TEST_F(Meeting, a_mode_for_the_waiting_list_meets_none_or_all_of_its_elements) {
  const std::vector<Element> elements = {MakeElement('A', 3), MakeElement('B', 3), MakeElement('C', 3)};
  const auto list = MakeFake<CScriptedList>(elements);
  list->nextGate.Shut();
  auto load = std::async(std::launch::async, [&] {
    return m_channel->InsertClipElement(static_cast<IRkClipElementList*>(list.Get()), 1, 0);
  });
  ASSERT_TRUE(WaitUntil([&] { return list->nextGate.SomebodyWaits(); }));
  std::atomic<DWORD> setter = 0;
  auto mode = std::async(std::launch::async, [&] {
    setter = GetCurrentThreadId();
    m_channel->SetElementMode(FALSE, 7, kRkNoPosition);
    return m_channel->GetElementMode(FALSE);
  });
  ASSERT_TRUE(WaitUntil([&] { return setter != 0; }));
  AwaitAsleep(setter);
  list->nextGate.Open();
  EXPECT_TRUE(load.get());
  EXPECT_EQ(mode.get(), 7u);
  for (const auto& element : elements) EXPECT_EQ(element->GetMode(), 7u);
}

// ---- takers

TEST_F(Meeting, two_takers_get_each_the_answer_to_their_own_request) {
  PlayList({MakeElement('A', 9)});
  ASSERT_TRUE(Cue('B', 9, 1, 4));
  EXPECT_EQ(TakeSample(), "A0");
  const int before = g_waits.switchPlays;
  auto first = RequestSwitch();
  auto second = std::async(std::launch::async, [this] {
    UINT position = 0;
    return m_channel->SwitchPlay(&position) ? static_cast<int>(position) : -1;
  });
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  EXPECT_EQ(first.get(), 0);
  EXPECT_TRUE(WaitUntil([&] { return g_waits.switchPlays >= before + 2; }))
      << "the second request was not raised";
  EXPECT_EQ(TakeSamples(2), "B4 B5 ");
  EXPECT_EQ(Switch(), RkSwitchStatus_Playing);
  EXPECT_EQ(second.get(), 5);
}

// The first taker has gone; its request is being answered when the second raises another.
TEST_F(Meeting, a_request_raised_while_an_older_one_is_answered_waits_for_its_own_answer) {
  PlayList({MakeElement('A', 9)});
  ASSERT_TRUE(Cue('B', 9, 1, 4));
  EXPECT_EQ(TakeSample(), "A0");
  LeaveRequest();
  std::future<int> second;
  m_notify->onFree = [&](BOOL) { second = RequestSwitch(); };
  const int before = g_waits.switchPlays;
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  m_notify->onFree = nullptr;
  const auto answered = [&] { return second.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
  EXPECT_TRUE(WaitUntil([&] { return g_waits.switchPlays == before + 2 || answered(); }));
  EXPECT_FALSE(answered()) << "with what the first was told";
  EXPECT_EQ(TakeSamples(2), "B4 B5 ");
  EXPECT_EQ(Switch(), RkSwitchStatus_Playing);
  EXPECT_EQ(second.get(), 5);
}

// ---- settings

// A host's object at whose first reference, which the setting takes for the first channel, roles change.
class CMeddler : public CFakePool {
 public:
  std::function<void()> meddle;
  UINT AddRef() override {
    if (const auto now = std::exchange(meddle, nullptr)) now();
    return CFakePool::AddRef();
  }
};

TEST_F(Meeting, a_setting_reaches_each_of_the_three_channels_once_while_roles_change) {
  for (int i = 0; i < 2; ++i) {
    const auto pool = MakeFake<CMeddler>();
    const auto hook = MakeFake<CFakeHook>();
    ASSERT_TRUE(Cue('A', 1));
    pool->meddle = [&] { EXPECT_TRUE(m_channel->SwitchChannelAtOnce()); };
    EXPECT_TRUE(m_channel->SetPlayBufferPool(pool.Get()));
    EXPECT_TRUE(m_channel->SetSampleProcessor(hook.Get()));
    EXPECT_FALSE(m_channel->SetSampleProcessor(nullptr));
    m_channel->Stop();  // its workers keep a reference for as long as they use one
    EXPECT_EQ(References(pool), 4u);
    EXPECT_EQ(References(hook), 4u);
    m_channel->RemoveSampleProcessor();
    EXPECT_EQ(References(hook), 1u);
    EXPECT_TRUE(m_channel->SetPlayBufferPool(nullptr));
    EXPECT_EQ(References(pool), 1u);
  }
}

TEST_F(Meeting, the_next_load_of_either_channel_opens_with_the_new_settings) {
  SRkVideoResolution video = kTestVideo;
  video.width = 128;
  const SRkWaveFormatInfo audio = RkMakeWaveFormat(6, 44100, 24);
  m_channel->SetVideoResolution(video);
  m_channel->SetWaveFormatInfo(audio);
  const auto pool = MakeFake<CFakePool>();
  m_channel->SetPlayBufferPool(pool.Get());
  for (int i = 0; i < 2; ++i) {
    const auto element = MakeElement('A', 2);
    ASSERT_TRUE(Cue({element}));
    ASSERT_TRUE(m_channel->SwitchChannelAtOnce());
    EXPECT_EQ(element->poolAtOpen, pool.Get());
    EXPECT_EQ(element->FormatAtOpen().video.width, 128);
    EXPECT_EQ(element->FormatAtOpen().audio.channels, 6);
  }
}

}  // namespace
