#include <gtest/gtest.h>

#include "rkplay/cli/FrameRate.h"

using namespace rkplay;

namespace {

TEST(FrameRate, a_timecode_names_the_frame_that_it_is_written_for) {
  for (const int rate : {RkFrameRate_23_976, RkFrameRate_25, RkFrameRate_29_97, RkFrameRate_59_94}) {
    for (const ULONGLONG frame : {0u, 1799u, 1800u, 17981u, 17982u, 3599u, 3600u, 107892u, 2589407u}) {
      EXPECT_EQ(FrameOfTimecode(rate, Timecode(rate, frame)), frame) << rate;
    }
  }
  EXPECT_EQ(Timecode(RkFrameRate_29_97, 1800), "00:01:00;02");
  EXPECT_EQ(FrameOfTimecode(RkFrameRate_29_97, "00:01:00:00"), 1800u);  // every number counted
  for (const char* none : {"00:01:00;00", "00:01:00;01", "00:60:00:00", "00:00:60:00", "00:00:00:30"}) {
    EXPECT_FALSE(FrameOfTimecode(RkFrameRate_29_97, none)) << none;
  }
  EXPECT_FALSE(FrameOfTimecode(RkFrameRate_25, "00:00:01;00"));
}

}  // namespace
