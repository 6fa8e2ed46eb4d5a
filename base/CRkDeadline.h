#pragma once

#include "platform/RkPlatform.h"

// The end of a time-out that several waits share. Never early: what is spent counts in whole milliseconds.
class CRkDeadline {
 public:
  explicit CRkDeadline(DWORD timeoutMs) : m_timeoutMs(timeoutMs), m_start(_Counter()) {}

  DWORD RemainingMs() const {
    if (m_timeoutMs == INFINITE) return INFINITE;
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    const LONGLONG spentMs = (_Counter() - m_start) / (frequency.QuadPart / 1000);
    return spentMs >= m_timeoutMs ? 0 : m_timeoutMs - static_cast<DWORD>(spentMs);
  }

 private:
  static LONGLONG _Counter() {
    LARGE_INTEGER counter = {};
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
  }

  const DWORD m_timeoutMs;
  const LONGLONG m_start;
};
