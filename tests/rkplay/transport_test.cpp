#include "rkplay/play/Transport.h"

#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

using namespace rkplay;

namespace {

// A list of two elements on air, five frames and three.
class TransportTest : public testing::Test {
 protected:
  TransportTest() {
    EXPECT_TRUE(RkCreateClipOutputChannel(2, 4, kTestVideo, kTestAudio, nullptr, nullptr, m_channel.Out()));
    const auto list = Made<IRkClipElementList>(RkCreateClipElementList);
    for (UINT i = 0; i < 2; ++i) EXPECT_TRUE(list->InsertElement(i, MakePattern(i == 0 ? 5 : 3).Get()));
    EXPECT_TRUE(m_channel->InsertClipElement(list.Get(), 2, 0));
    EXPECT_TRUE(m_channel->Play());
    m_transport.emplace(*m_channel.Get());
    m_transport->ListBegins(8);
  }

  std::vector<UINT> Take(size_t count) {
    std::vector<UINT> positions;
    while (positions.size() < count) {
      CRkRef<IRkAVPlaySample> sample;
      if (!m_channel->GetSample(kTestDeadlineMs, sample.Out())) break;
      positions.push_back(sample->GetPosition());
    }
    return positions;
  }

  UINT SwitchStatus() {
    UINT status = 0;
    m_channel->SwitchChannel(&status);
    return status;
  }

  UINT Hold(UINT position) {
    CRkRef<IRkAVPlaySample> sample;
    return m_transport->HoldOn(position, sample) ? sample->GetPosition() : kRkNoPosition;
  }

  CRkRef<IRkClipOutputChannel> m_channel;
  std::optional<Transport> m_transport;
};

using Positions = std::vector<UINT>;

TEST_F(TransportTest, goes_on_within_a_list_without_an_end) {
  ASSERT_TRUE(m_channel->InsertClipElement(MakePattern(kRkNoPosition).Get(), 1, 0));
  ASSERT_TRUE(m_channel->SwitchChannelAtOnce());
  m_transport->ListBegins(kRkNoPosition);
  EXPECT_TRUE(m_transport->GoOnFrom(5));
  EXPECT_EQ(Take(2), Positions({5, 6}));
}

TEST_F(TransportTest, looking_at_the_last_frame_ends_no_pass_and_playing_it_does) {
  EXPECT_EQ(Hold(7), 7u);
  EXPECT_EQ(SwitchStatus(), RkSwitchStatus_Playing);
  EXPECT_TRUE(m_transport->GoOnFrom(7));
  EXPECT_EQ(Take(1), Positions({7}));  // the end of the first pass
  EXPECT_EQ(SwitchStatus(), RkSwitchStatus_Playing);
  EXPECT_EQ(Take(2), Positions({0, 1}));
  EXPECT_TRUE(m_transport->GoOnFrom(7));
  EXPECT_EQ(Take(1), Positions({7}));
  EXPECT_EQ(SwitchStatus(), RkSwitchStatus_Ended);
}

}  // namespace
