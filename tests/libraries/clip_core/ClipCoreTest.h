#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "base/CRkRef.h"
#include "module/RkClipPlay.h"

using Element = CRkRef<IRkClipElement>;
using Sample = CRkRef<IRkAVPlaySample>;
using Trim = CRkRef<IRkClipTrimInfo>;
using Ranges = IRkClipTrimInfo::Ranges;

inline SRkClipFormat MakeFormat(int width, int height, int pixelFormat, int rate = RkFrameRate_25,
                                int bits = 16, int channels = 2) {
  return {RkMakeWaveFormat(channels, 48000, static_cast<WORD>(bits)),
          {width, height, pixelFormat, 0, rate, 1, 1, RkColorRange_Limited, 0}};
}

inline Element MakeElement(UINT frames) {
  Element element;
  EXPECT_EQ(RkCreatePatternClipElement(frames, element.Out()), 1);
  return element;
}

inline Trim MakeTrim(const Ranges& ranges) {
  Trim trim;
  EXPECT_EQ(RkCreateClipTrimInfo(ranges, trim.Out()), 1);
  return trim;
}
