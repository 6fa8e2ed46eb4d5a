#pragma once

#include <gtest/gtest.h>

#include "base/RkCreateObject.h"
#include "source_channel/CRkClipSourceChannel.h"
#include "tests/support/RkBlockedCall.h"

// A source channel over fake elements with the consumer's view of it. Its last release ends whatever still
// plays, after which everything must be closed and gone.
class SourceChannelTest : public testing::Test {
 protected:
  static constexpr UINT kRoomy = 2000;  // samples of a cache that no test fills
  static constexpr UINT kNothing = kRkNoPosition;

  void Build(const std::vector<UINT>& lengths, UINT cacheCapacity = kRoomy) {
    auto* created = new CRkClipSourceChannel(kTestVideo, kTestAudio, waits);
    ASSERT_TRUE(RkInitializeAndHandOut(created, channel.Out(), preRollCount, cacheCapacity, nullptr));
    for (const UINT length : lengths) {
      elements.push_back(MakeFake<CFakeElement>(length));
      const auto index = static_cast<UINT>(elements.size() - 1);
      ASSERT_TRUE(channel->InsertElement(index, elements.back().Get()));
    }
  }

  void TearDown() override {
    channel.Reset();
    for (const auto& element : elements) {
      EXPECT_FALSE(element->misused);
      EXPECT_EQ(element->opens, element->closes);
    }
    elements.clear();
    EXPECT_EQ(g_liveFakes, 0);
  }

  // The position of the next sample, or kNothing.
  UINT Take(UINT timeoutMs = kTestDeadlineMs) {
    CRkRef<IRkAVPlaySample> sample;
    return channel->GetSample(timeoutMs, sample.Out()) ? sample->GetPosition() : kNothing;
  }

  // The next samples are those from `first` to the one before `end`.
  void ExpectFrames(UINT first, UINT end) {
    for (UINT position = first; position < end; ++position) ASSERT_EQ(Take(), position);
  }

  UINT Status() {
    UINT status = 99;
    channel->GetStatus(&status);
    return status;
  }

  UINT Position() {
    UINT position = 99;
    EXPECT_TRUE(channel->GetPosition(&position));
    return position;
  }

  // Until the worker is inside a read of the element, at its shut gate.
  void HoldRead(CFakeElement& element) {
    element.readGate.Shut();
    ASSERT_TRUE(WaitUntil([&] { return element.readGate.SomebodyWaits(); }));
  }

  SRkChannelWaits waits;
  UINT preRollCount = 1;
  std::vector<CRkRef<CFakeElement>> elements;
  CRkRef<IRkClipSourceChannel> channel;
};
