#include "rkplay/monitor/PresentationMeter.h"

#include <gtest/gtest.h>

using namespace rkplay;

namespace {

constexpr double kFrameMs = 40;
constexpr double kSpanMs = 1000;

void Sound(PresentationMeter& meter, int frames, bool isSilence = false) {
  for (int i = 0; i < frames; ++i) meter.SoundWritten(isSilence);
}

TEST(PresentationMeter, frames_are_shown_passed_over_and_repeated) {
  PresentationMeter meter(kFrameMs);
  meter.RunBegins();
  for (const UINT frame : {1u, 2u, 2u, 5u}) meter.PictureShown(frame, std::nullopt, 0);
  meter.RunPlaysOut();
  meter.PictureShown(5, std::nullopt, 0);  // handed over again by the stop: nothing repeats
  meter.RunEnds(8);                        // 6 and 7 never appeared
  meter.RunBegins();
  meter.PictureShown(0, std::nullopt, 0);
  meter.NoPictureShown();
  meter.PictureShown(4, std::nullopt, 0);  // those between have no picture
  meter.RunEnds(5);
  const Presentation seen = meter.Result();
  EXPECT_EQ(seen.shown, 5u);
  EXPECT_EQ(seen.passedOver, 1u + 2u + 2u);
  EXPECT_EQ(seen.repeated, 1u);
  EXPECT_FALSE(seen.medianOffsetMs);
}

TEST(PresentationMeter, offsets_are_taken_round_the_buffer_and_past_silence) {
  PresentationMeter meter(kFrameMs);
  meter.RunBegins();
  Sound(meter, 30);
  meter.PictureShown(0, 3.0, kSpanMs);
  meter.PictureShown(24, 965.0, kSpanMs);
  meter.PictureShown(25, 990.0, kSpanMs);  // its sound begins where the buffer starts over
  Sound(meter, 2, true);
  Sound(meter, 1);
  meter.PictureShown(30, 285.0, kSpanMs);  // 32 frames of sound came before its own
  Sound(meter, 3, true);                   // after the end: nothing was interrupted
  meter.RunEnds(31);
  const Presentation seen = meter.Result();
  EXPECT_EQ(seen.silenceFrames, 2u);
  ASSERT_TRUE(seen.medianOffsetMs && seen.worstOffsetMs);
  EXPECT_NEAR(*seen.medianOffsetMs, 5.0, 0.06);
  EXPECT_NEAR(*seen.worstOffsetMs, -10.0, 0.06);
}

}  // namespace
