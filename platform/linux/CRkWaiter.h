#pragma once

#include <array>
#include <cstddef>

#include "platform/linux/RkFutex.h"

// The wake-ups that a change of an object has earned. They are sent when this list goes, which is after
// the object's lock was left, so that a woken thread does not run into it.
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

// A thread in a wait. Told by the objects it waits on, under their locks, to look at them again.
class RK_HIDDEN CRkWaiter {
 public:
  explicit CRkWaiter(bool waitsForAll) : m_waitsForAll(waitsForAll) {}

  bool WaitsForAll() const { return m_waitsForAll; }

  void Tell(CRkWakeList& wakes) {
    if (m_told.exchange(1) == 0) wakes.Add(&m_told);
  }
  // Before each look: what changes after it is told anew.
  void Forget() { m_told.exchange(0); }
  // Sleeps until told, for all that changed since Forget.
  ERkPark Park(const CRkWakeMoment& deadline) { return RkFutexWait(m_told, 0, deadline); }

 private:
  RkFutexWord m_told{0};
  const bool m_waitsForAll;
};
