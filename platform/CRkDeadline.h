#pragma once

#include "platform/RkPlatform.h"

// The end of a time-out that several waits share.
class CRkDeadline {
 public:
  explicit CRkDeadline(DWORD timeoutMs) : m_timeoutMs(timeoutMs), m_start(GetTickCount64()) {}

  DWORD RemainingMs() const {
    if (m_timeoutMs == INFINITE) return INFINITE;
    const ULONGLONG spent = GetTickCount64() - m_start;
    return spent >= m_timeoutMs ? 0 : m_timeoutMs - static_cast<DWORD>(spent);
  }

 private:
  const DWORD m_timeoutMs;
  const ULONGLONG m_start;
};
