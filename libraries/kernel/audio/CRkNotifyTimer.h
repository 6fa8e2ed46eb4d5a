#pragma once

#include <cmath>
#include <limits>

#include "contracts/RkTypes.h"

// Notifications at a fixed interval from a start on. Moments are nanoseconds of the monotonic clock,
// derived from the notification's number, so that nothing adds up. Pure arithmetic; the owner locks.
class CRkNotifyTimer {
 public:
  static constexpr LONGLONG kNever = std::numeric_limits<LONGLONG>::max();

  // An interval that is not above 0 notifies nothing. Restarts a timer that runs.
  void SetInterval(double milliseconds, LONGLONG now) {
    m_intervalNs = milliseconds > 0.0 && milliseconds < kLongestMs ? milliseconds * 1e6 : 0.0;
    if (m_started) Start(now);
  }

  void Start(LONGLONG now) {
    m_started = true;
    m_start = now;
    _SetNext(now);
  }

  void Stop() {
    m_started = false;
    m_due = kNever;
  }

  LONGLONG Due() const { return m_due; }

  // Whether one has come due since the last call; all that have count as one.
  bool Take(LONGLONG now) {
    if (now < m_due) return false;
    _SetNext(now);
    return true;
  }

 private:
  static constexpr double kLongestMs = 1e9;

  LONGLONG _Time(double number) const { return m_start + std::llround(number * m_intervalNs); }

  void _SetNext(LONGLONG now) {
    if (m_intervalNs <= 0.0) {
      m_due = kNever;
      return;
    }
    double number = std::floor(static_cast<double>(now - m_start) / m_intervalNs) + 1.0;
    // The division and the rounding of the moment may disagree by one.
    if (_Time(number) <= now) number += 1.0;
    m_due = _Time(number);
  }

  double m_intervalNs = 0.0;
  LONGLONG m_start = 0;
  LONGLONG m_due = kNever;
  bool m_started = false;
};
