#pragma once

#include <cmath>

#include "contracts/RkTypes.h"

// Whether a play position keeps pace with the monotonic clock, so that a thread may sleep until a position
// is due instead of polling for it. Pure arithmetic.
//
// Steady after kProofMs in which the two never were further apart than kMostDriftMs. A greater distance
// begins the proof again: a jump, a standstill, or in time a card whose rate is not quite the clock's.
class CRkSteadyPosition {
 public:
  // `positionMs` counts on over the wraps. `now`: nanoseconds.
  void Note(double positionMs, LONGLONG now) {
    const double clockMs = static_cast<double>(now - m_since) / 1e6;
    if (m_begun && std::abs(positionMs - m_atMs - clockMs) <= kMostDriftMs) {
      m_isSteady = clockMs >= kProofMs;
      return;
    }
    m_begun = true;
    m_isSteady = false;
    m_since = now;
    m_atMs = positionMs;
  }
  bool IsSteady() const { return m_isSteady; }

 private:
  static constexpr double kProofMs = 100.0;
  static constexpr double kMostDriftMs = 2.0;

  bool m_begun = false;
  bool m_isSteady = false;
  LONGLONG m_since = 0;  // the proof's beginning, by the clock
  double m_atMs = 0.0;   // and by the position
};
