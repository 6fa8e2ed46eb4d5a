#pragma once

#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

using Element = CRkRef<IRkClipElement>;
using Sample = CRkRef<IRkAVPlaySample>;
using Trim = CRkRef<IRkClipTrimInfo>;
using Ranges = IRkClipTrimInfo::Ranges;

inline SRkClipFormat MakeFormat(int width, int height, int pixelFormat, int rate = RkFrameRate_25,
                                int bits = 16, int channels = 2) {
  return {RkMakeWaveFormat(channels, 48000, static_cast<WORD>(bits)),
          {width, height, pixelFormat, 0, rate, 1, 1, RkColorRange_Limited, 0}};
}
