#pragma once

#include <algorithm>
#include <chrono>

#include "contracts/RkTypes.h"

// Nanoseconds of the monotonic clock.
inline LONGLONG RkMonotonicNow() {
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// A time-out for a wait that must not end before the moment, rounded up; at most an hour.
inline DWORD RkMillisecondsUntil(LONGLONG moment, LONGLONG now) {
  constexpr LONGLONG kNanoseconds = 1'000'000;
  constexpr LONGLONG kLongestMs = 3'600'000;
  if (moment <= now) return 0;
  return static_cast<DWORD>(std::min((moment - now - 1) / kNanoseconds + 1, kLongestMs));
}

// The end of a time-out that several waits share.
class CRkDeadline {
 public:
  explicit CRkDeadline(DWORD timeoutMs) : m_timeoutMs(timeoutMs), m_start(RkMonotonicNow()) {}

  // Rounds elapsed time down, so waits never end early.
  DWORD RemainingMs() const {
    if (m_timeoutMs == INFINITE) return INFINITE;
    const LONGLONG elapsedMs = (RkMonotonicNow() - m_start) / 1'000'000;
    return elapsedMs >= m_timeoutMs ? 0 : m_timeoutMs - static_cast<DWORD>(elapsedMs);
  }

 private:
  const DWORD m_timeoutMs;
  const LONGLONG m_start;
};
