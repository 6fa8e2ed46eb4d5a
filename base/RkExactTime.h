#pragma once

#include <algorithm>
#include <chrono>

#include "contracts/RkMediaRecords.h"

// Places on a time scale, derived from counts in integers, so that they never drift.

inline constexpr LONGLONG kRkNanosecondsPerSecond = 1'000'000'000;

// floor(count x multiplier / divisor). Exact while the result and divisor x multiplier fit 64 bits; the
// product of count and multiplier may be larger.
constexpr ULONGLONG RkScaled(ULONGLONG count, ULONGLONG multiplier, ULONGLONG divisor) {
  return count / divisor * multiplier + count % divisor * multiplier / divisor;
}

// Samples per channel before the frame: frame 0 begins at sample 0.
constexpr ULONGLONG RkFirstSampleOf(ULONGLONG frame, DWORD samplesPerSecond, SRkFrameRateFraction rate) {
  return RkScaled(frame, ULONGLONG{samplesPerSecond} * rate.denominator, rate.numerator);
}

// Whole nanoseconds from the start of a stream of that rate to its unit (frame, tick, sample) `number`.
constexpr std::chrono::nanoseconds RkTimeOf(ULONGLONG number, SRkFrameRateFraction rate) {
  return std::chrono::nanoseconds(
      RkScaled(number * rate.denominator, kRkNanosecondsPerSecond, rate.numerator));
}

// The table's fraction for a rate of the table; thousandths of a unit per second for any other.
inline SRkFrameRateFraction RkFractionOf(double perSecond) {
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    if (perSecond == RkFramesPerSecond(rate)) return kRkFrameRates[rate];
  }
  constexpr UINT kSteps = 1000;
  return {static_cast<UINT>(std::clamp(perSecond * kSteps + 0.5, 1.0, 4e9)), kSteps};
}
