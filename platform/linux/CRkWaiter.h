#pragma once

#include <array>
#include <cstddef>

#include "platform/linux/RkFutex.h"

// The wake-ups due after a change of an object. The destructor sends them, after the object's lock was left,
// so that a woken thread does not block on it.
class RK_HIDDEN CRkWakeList {
 public:
  CRkWakeList() = default;
  CRkWakeList(const CRkWakeList&) = delete;
  CRkWakeList& operator=(const CRkWakeList&) = delete;
  ~CRkWakeList() { Send(); }

  void Add(RkFutexWord* word) {
    if (m_count == m_words.size()) Send();
    m_words[m_count++] = word;
  }

 private:
  void Send() {
    for (std::size_t i = 0; i < m_count; ++i) RkFutexWake(m_words[i]);
    m_count = 0;
  }

  std::array<RkFutexWord*, 16> m_words;
  std::size_t m_count = 0;
};

// A thread in a wait. The objects it waits on notify it, under their locks, to look at them again.
class RK_HIDDEN CRkWaiter {
 public:
  explicit CRkWaiter(bool waitsForAll) : m_waitsForAll(waitsForAll) {}

  bool WaitsForAll() const { return m_waitsForAll; }

  void Notify(CRkWakeList& wakes) {
    if (m_notified.exchange(1) == 0) wakes.Add(&m_notified);
  }
  // Before each look: a change after it notifies again.
  void Forget() { m_notified.exchange(0); }
  // Sleeps until a notification; one since Forget ends it immediately.
  ERkPark Park(const CRkWakeMoment& deadline) { return RkFutexWait(m_notified, 0, deadline); }

 private:
  RkFutexWord m_notified{0};
  const bool m_waitsForAll;
};
