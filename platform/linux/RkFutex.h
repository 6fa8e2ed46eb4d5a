#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

#include "platform/RkPlatform.h"

// Only the Windows names leave this library, so that its own calls are direct ones.
#define RK_HIDDEN __attribute__((visibility("hidden")))

// A 32-bit word that one thread sleeps on and any thread may wake. Wake-ups may be spurious.
using RkFutexWord = std::atomic<std::uint32_t>;

// The moment on the monotonic clock at which a wait gives up; INFINITE never does.
class RK_HIDDEN CRkWakeMoment {
 public:
  explicit CRkWakeMoment(DWORD timeoutMs);
  // Null for a wait without end.
  const timespec* Moment() const { return m_infinite ? nullptr : &m_moment; }

 private:
  timespec m_moment{};
  bool m_infinite;
};

enum class ERkPark { Woken, TimedOut, Failed };

// Sleeps while the word holds `value`, at the latest until the deadline.
RK_HIDDEN ERkPark RkFutexWait(RkFutexWord& word, std::uint32_t value, const CRkWakeMoment& deadline);
// Only the address counts: the word may be gone already.
RK_HIDDEN void RkFutexWake(RkFutexWord* word);
