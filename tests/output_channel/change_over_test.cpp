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

TEST_F(ChangeOver, without_a_sink_the_waiting_list_follows_at_once) {
  Create(nullptr);
  ASSERT_TRUE(Cue('A', 2));
  ASSERT_TRUE(m_channel->Play());
  ASSERT_TRUE(Cue('B', 2));
  EXPECT_EQ(PlayOut(), "A0 A1 4 B0 B1 1 ");
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

}  // namespace
