#include "tests/source_channel/SourceChannelTest.h"

namespace {

constexpr UINT kMode = 3;

class ElementModeTest : public SourceChannelTest {
 protected:
  // Frames 100 to 103 of the second of two elements have been taken.
  void BuildPlaying() {
    Build({100, 200}, 4);
    ASSERT_TRUE(channel->Play(100, 1));
    ExpectFrames(100, 104);
  }
  // The worker is held inside a read of that element and the cache is empty.
  void HoldReadOfPlayed() {
    elements[1]->readGate.Shut();
    while (Take(0) != kNothing) {
    }
    HoldRead(*elements[1]);
  }
};

TEST_F(ElementModeTest, the_mode_that_is_set_already_does_not_disturb_play) {
  BuildPlaying();
  elements[0]->SetMode(kMode, nullptr);  // only another element changes
  channel->SetElementMode(0, kRkNoPosition);
  EXPECT_EQ(elements[0]->GetMode(), 0u);
  ExpectFrames(104, 130);
  EXPECT_TRUE(elements[1]->Seeks().empty());
}

TEST_F(ElementModeTest, an_idle_channel_takes_the_mode_and_plays_from_its_start) {
  Build({10, 10});
  channel->SetElementMode(kMode, 5);
  EXPECT_EQ(channel->GetElementMode(), kMode);
  ASSERT_TRUE(channel->Play(2, 1));
  ExpectFrames(2, 5);
  channel->Stop();
  channel->SetElementMode(0, 7);
  EXPECT_EQ(Take(0), kNothing);
  ASSERT_TRUE(channel->Play(12, 1));
  ExpectFrames(12, 20);
  channel->Stop();
  channel->RemoveAllElements();
  channel->SetElementMode(kMode, 0);
  EXPECT_EQ(channel->GetElementMode(), 0u);
}

TEST_F(ElementModeTest, never_moves_an_element_under_a_read_and_moves_it_afterwards) {
  BuildPlaying();
  HoldReadOfPlayed();
  channel->SetElementMode(kMode, 150);  // runs into its time-out
  EXPECT_TRUE(elements[1]->Seeks().empty());
  elements[1]->readGate.Open();
  ExpectFrames(250, 260);
}

TEST_F(ElementModeTest, a_stop_forgets_a_move_that_was_not_made) {
  BuildPlaying();
  HoldReadOfPlayed();
  channel->SetElementMode(kMode, 150);
  {
    CBlockedCall stop([&] { channel->Stop(); });
    elements[1]->readGate.Open();
  }
  EXPECT_EQ(Take(0), kNothing) << "the frame whose read the stop met";
  ASSERT_TRUE(channel->Play(105, 1));
  ExpectFrames(105, 110);
}

}  // namespace
