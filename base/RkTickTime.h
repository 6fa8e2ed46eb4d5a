#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>

#include "contracts/RkMediaRecords.h"

// The table's fraction for a rate of the table; thousandths of a frame per second for any other.
inline SRkFrameRateFraction RkTickRate(double framesPerSecond) {
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    if (framesPerSecond == RkFramesPerSecond(rate)) return kRkFrameRates[rate];
  }
  constexpr UINT kSteps = 1000;
  const double steps = std::clamp(std::round(framesPerSecond * kSteps), 1.0, 4e9);
  return {static_cast<UINT>(steps), kSteps};
}

// Whole nanoseconds from the start of a clock to its tick of that number. Derived from the number, so
// that hours at any rate end where they should.
inline std::chrono::nanoseconds RkTickTime(double framesPerSecond, ULONGLONG tick) {
  constexpr ULONGLONG kNanosecondsPerSecond = 1'000'000'000;
  const SRkFrameRateFraction rate = RkTickRate(framesPerSecond);
  // Whole runs of `numerator` ticks first, so that no product overflows.
  const ULONGLONG perRun = rate.denominator * kNanosecondsPerSecond;
  const ULONGLONG runs = tick / rate.numerator;
  const ULONGLONG rest = tick % rate.numerator;
  const double restNs = static_cast<double>(rest) * static_cast<double>(perRun) / rate.numerator;
  return std::chrono::nanoseconds(runs * perRun + static_cast<ULONGLONG>(restNs));
}
