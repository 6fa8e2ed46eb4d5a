#pragma once

#include <algorithm>
#include <chrono>

#include "contracts/RkTypes.h"

inline constexpr LONGLONG kRkNanosecondsPerSecond = 1'000'000'000;

// Nanoseconds of the monotonic clock.
inline LONGLONG RkMonotonicNow() {
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// For a wait that must not end before the moment; at most an hour.
inline DWORD RkMillisecondsUntil(LONGLONG moment, LONGLONG now) {
  constexpr LONGLONG kNanoseconds = 1'000'000;
  constexpr LONGLONG kLongestMs = 3'600'000;
  if (moment <= now) return 0;
  return static_cast<DWORD>(std::min((moment - now - 1) / kNanoseconds + 1, kLongestMs));
}
