#include "tests/output_channel/OutputChannelTest.h"

namespace {

struct SCued {
  std::vector<UINT> frames;  // of its elements
  int repeatCount;
  UINT start;
};

class ChangeOver : public OutputChannelTest {
 protected:
  // Cues the lists one ahead from the sink, and returns the samples that must come out.
  std::string CueAllFromSink(const std::vector<SCued>& lists) {
    std::string expected;
    for (size_t i = 0; i < lists.size(); ++i) {
      if (i > 0) expected += "4 ";
      expected += Prepare(static_cast<char>('A' + i), lists[i]);
    }
    m_notify->onFree = [this](BOOL free) {
      if (!free || m_next == m_prepared.size()) return;
      const auto& next = m_prepared[m_next++];
      EXPECT_TRUE(Cue(next.elements, next.repeatCount, next.start));
    };
    m_notify->onFree(TRUE);
    return expected + "1 ";
  }

  void TearDown() override {
    m_prepared.clear();
    m_notify->onFree = nullptr;
    OutputChannelTest::TearDown();
  }

 private:
  struct SPrepared {
    std::vector<Element> elements;
    int repeatCount;
    UINT start;
  };

  std::string Prepare(char name, const SCued& list) {
    SPrepared prepared = {{}, list.repeatCount, list.start};
    UINT total = 0;
    for (const UINT frames : list.frames) {
      prepared.elements.push_back(MakeElement(name, frames));
      total += frames;
    }
    std::string samples;
    for (UINT i = list.start; i < total * static_cast<UINT>(list.repeatCount); ++i) {
      samples += name + std::to_string(i % total) + " ";
    }
    m_prepared.push_back(std::move(prepared));
    return samples;
  }

  std::vector<SPrepared> m_prepared;
  size_t m_next = 0;
};

// Lists shorter and longer than the cache (4) and the pre-roll (2), of one and more elements.
TEST_F(ChangeOver, lists_follow_each_other_without_a_lost_or_repeated_sample) {
  const std::string expected = CueAllFromSink({{{5}, 1, 0},
                                               {{1}, 1, 0},
                                               {{1}, 3, 0},
                                               {{2, 3, 1}, 2, 0},
                                               {{6}, 1, 5},
                                               {{3, 4}, 3, 4},
                                               {{1, 1}, 1, 1},
                                               {{4}, 2, 3},
                                               {{9}, 1, 0}});
  ASSERT_TRUE(m_channel->Play());
  EXPECT_EQ(PlayOut(), expected);
}

TEST_F(ChangeOver, without_a_sink_the_waiting_list_follows_at_once) {
  Create(nullptr);
  ASSERT_TRUE(Cue('A', 2));
  ASSERT_TRUE(m_channel->Play());
  ASSERT_TRUE(Cue('B', 2));
  EXPECT_EQ(PlayOut(), "A0 A1 4 B0 B1 1 ");
}

TEST_F(ChangeOver, in_manual_mode_the_next_list_waits_for_the_take) {
  m_notify->autoSwitch = false;
  PlayList({MakeElement('A', 3)});
  ASSERT_TRUE(Cue('B', 2));
  EXPECT_EQ(PlayOut(), "A0 A1 A2 5 ");
  EXPECT_EQ(Switch(), RkSwitchStatus_AwaitingSwitch);
  auto answer = RequestSwitch();
  EXPECT_EQ(Switch(), RkSwitchStatus_Switched);
  EXPECT_EQ(answer.get(), 2);
  EXPECT_EQ(PlayOut(), "B0 B1 5 ");
}

TEST_F(ChangeOver, a_sample_stays_valid_when_its_list_has_gone) {
  PlayList({MakeElement('A', 3)}, kRkRepeatEndless);
  CRkRef<IRkAVPlaySample> kept;
  ASSERT_TRUE(m_channel->GetSample(kTestDeadlineMs, kept.Out()));
  ASSERT_TRUE(Cue('B', 3));
  ASSERT_TRUE(m_channel->SwitchChannelAtOnce());
  EXPECT_EQ(TakeSample(), "B0");
  m_channel->Stop();
  m_channel.Reset();
  EXPECT_EQ(NameOf(*kept), "A0");
}

TEST_F(ChangeOver, a_repeat_count_reaches_the_playing_and_the_cued_list) {
  PlayList({MakeElement('A', 2)}, 9);
  ASSERT_TRUE(Cue('B', 1, kRkRepeatEndless));
  EXPECT_EQ(TakeSamples(2), "A0 A1 ");
  m_channel->SetRepeatCount(2);
  EXPECT_EQ(PlayOut(), "A0 A1 4 B0 B0 1 ");
}

TEST_F(ChangeOver, seeks_move_the_playing_list_and_playback_goes_on_behind_the_last) {
  const auto first = MakeElement('A', 5);
  const auto second = MakeElement('B', 5);
  PlayList({first, second});
  TakeSamples(2);
  CLogRecorder log;
  EXPECT_TRUE(m_channel->BeginSeek(3));
  EXPECT_EQ(first->GetMode() + second->GetMode(), 6u);
  for (const auto& [position, name] : {std::pair(8u, "B8"), std::pair(1u, "A1"), std::pair(6u, "B6")}) {
    EXPECT_TRUE(m_channel->Seek(position, kTestDeadlineMs));
    EXPECT_EQ(TakeSample(), name);
    EXPECT_EQ(Switch(), RkSwitchStatus_Playing);
  }
  EXPECT_FALSE(m_channel->Seek(10, kTestDeadlineMs));
  CRkRef<IRkAVPlaySample> none;
  EXPECT_FALSE(m_channel->GetSample(0, none.Out())) << "a paused channel produces nothing by itself";
  m_channel->EndSeek();
  EXPECT_EQ(PlayOut(), "B7 B8 B9 1 ");
  EXPECT_TRUE(log.Heard(L"enter ------>CRkClipOutputChannel::Seek<------\n"));
}

}  // namespace
