#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

#include "platform/RkPlatform.h"

// Only the Windows names are exported; the library calls its own functions directly.
#define RK_HIDDEN __attribute__((visibility("hidden")))

// A 32-bit word that one thread sleeps on and any thread may wake. Wake-ups may be spurious.
using RkFutexWord = std::atomic<std::uint32_t>;

// The moment on the monotonic clock at which a wait times out; INFINITE never does.
class RK_HIDDEN CRkWakeMoment {
 public:
  explicit CRkWakeMoment(DWORD timeoutMs);
  // Null for a wait without a time-out.
  const timespec* Moment() const { return m_infinite ? nullptr : &m_moment; }

 private:
  timespec m_moment{};
  bool m_infinite;
};

enum class ERkPark { Woken, TimedOut, Failed };

// Sleeps while the word holds `value`, until the deadline at the latest.
RK_HIDDEN ERkPark RkFutexWait(RkFutexWord& word, std::uint32_t value, const CRkWakeMoment& deadline);
// Uses only the address: the word may no longer exist.
RK_HIDDEN void RkFutexWake(RkFutexWord* word);
