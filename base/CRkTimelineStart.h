#pragma once

#include <atomic>

#include "contracts/RkTypes.h"

// The position at which a clip element begins on the timeline that it is read on.
//
// Any number of lists may hold the element, and any thread may ask them for it. An offer therefore counts
// only on the thread that makes it, and only until that thread makes another: the thread that opens the
// element has just been given it by the list that it reads. The start then holds until the element is
// closed.
//
// Threads: Offer, Withdraw and Get on any; Take and Drop on the one that opens and closes. No locks.
class CRkTimelineStart {
 public:
  // A list has the element at this position, and hands it to the calling thread.
  void Offer(UINT position) const { s_offer = SOffer{m_serial, position}; }
  // No list counts for the calling thread.
  void Withdraw() const {
    if (s_offer.serial == m_serial) s_offer = SOffer{};
  }

  // Opened: begins where the calling thread's last offer says; at 0 if that was another element's.
  void Take() { m_position = s_offer.serial == m_serial ? s_offer.position : 0; }
  // Closed.
  void Drop() { m_position = 0; }

  UINT Get() const { return m_position; }

 private:
  struct SOffer {
    ULONGLONG serial;
    UINT position;
  };

  static inline constinit thread_local SOffer s_offer{};
  static inline std::atomic<ULONGLONG> s_lastSerial = 0;

  const ULONGLONG m_serial = ++s_lastSerial;  // unlike the address, never used again
  std::atomic<UINT> m_position = 0;
};
