#include "tests/source_channel/SourceChannelTest.h"

namespace {

constexpr UINT kMode = 3;

using ElementModeTest = SourceChannelTest;

TEST_F(ElementModeTest, never_moves_an_element_under_a_read_and_moves_it_afterwards) {
  Build({100, 200}, 4);
  ASSERT_TRUE(channel->Play(100, 1));
  ExpectFrames(100, 104);
  elements[1]->readGate.Shut();
  while (Take(0) != kNothing) {
  }
  HoldRead(*elements[1]);
  waits.pauseMs = 1;
  channel->SetElementMode(kMode, 150);  // runs into its time-out
  EXPECT_TRUE(elements[1]->Seeks().empty());
  elements[1]->readGate.Open();
  ExpectFrames(250, 260);
}

}  // namespace
