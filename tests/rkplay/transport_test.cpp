#include "rkplay/play/Transport.h"

#include <gtest/gtest.h>

#include <vector>

#include "module/RkClipPlay.h"

using namespace rkplay;

namespace {

constexpr DWORD kWaitMs = 10000;

// A list of two elements on air, five frames and three.
class TransportTest : public testing::Test {
 protected:
  TransportTest() {
    const SRkVideoResolution video = {64, 36, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0};
    EXPECT_TRUE(RkCreateClipOutputChannel(2, 4, video, RkMakeWaveFormat(2, 48000, 16), nullptr, nullptr,
                                          m_channel.Out()));
    CRkRef<IRkClipElementList> list;
    EXPECT_TRUE(RkCreateClipElementList(list.Out()));
    for (const UINT frames : {5u, 3u}) {
      CRkRef<IRkClipElement> element;
      EXPECT_TRUE(RkCreatePatternClipElement(frames, element.Out()));
      EXPECT_TRUE(list->InsertElement(static_cast<UINT>(list->GetCount()), element.Get()));
    }
    EXPECT_TRUE(m_channel->InsertClipElement(list.Get(), 2, 0));
    EXPECT_TRUE(m_channel->Play());
    m_transport.emplace(*m_channel.Get());
    m_transport->ListBegins(8);
  }

  std::vector<UINT> Take(size_t count) {
    std::vector<UINT> positions;
    while (positions.size() < count) {
      CRkRef<IRkAVPlaySample> sample;
      if (!m_channel->GetSample(kWaitMs, sample.Out())) break;
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

TEST_F(TransportTest, goes_on_from_any_frame_whether_held_or_playing) {
  EXPECT_EQ(Take(3), Positions({0, 1, 2}));
  EXPECT_TRUE(m_transport->GoOnFrom(6));
  EXPECT_EQ(Take(1), Positions({6}));
  for (const UINT position : {1u, 7u, 0u, 5u, 4u, 2u}) EXPECT_EQ(Hold(position), position);
  EXPECT_EQ(Hold(8), kRkNoPosition);
  EXPECT_TRUE(m_transport->IsPaused());
  EXPECT_TRUE(m_transport->GoOnFrom(4));
  EXPECT_FALSE(m_transport->IsPaused());
  EXPECT_EQ(Take(2), Positions({4, 5}));
  EXPECT_TRUE(m_transport->GoOnFrom(0));
  EXPECT_EQ(Take(3), Positions({0, 1, 2}));
}

TEST_F(TransportTest, goes_on_within_a_list_without_an_end) {
  CRkRef<IRkClipElement> live;
  ASSERT_TRUE(RkCreatePatternClipElement(kRkNoPosition, live.Out()));
  ASSERT_TRUE(m_channel->InsertClipElement(live.Get(), 1, 0));
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
