#pragma once

#include "contracts/RkTypes.h"

// Which sample of a stream is heard at a moment, between the steps in which a sound system takes them.
// Counts samples (of all channels at once) since the start; moments are nanoseconds of the monotonic
// clock, given by the caller. Pure arithmetic; the owner locks.
//
// Between two pulls the position runs along a line by the clock, but never above what has been handed
// over. A pull that comes early or late moves the line by a fraction of its error only, so that the jitter
// of the sound system's thread is not seen in the position. Lose ends the bound: the clock alone leads,
// until the next pull. The position never runs backwards.
class CRkSmoothPosition {
 public:
  explicit CRkSmoothPosition(DWORD framesPerSecond) : m_framesPerNanosecond(framesPerSecond / 1e9) {}

  // From position 0, nothing handed over. `latencyFrames`: samples that lie between those handed over and
  // those heard at the moment of a pull.
  void Start(LONGLONG now, DWORD latencyFrames);
  // The sound system has taken samples.
  void HandOver(DWORD frames, LONGLONG now);
  double Frames(LONGLONG now);

  // No pull for so long that none is to be expected. To be asked regularly: a pause between two calls
  // counts as 0.1 s at most, so that a process that was held up does not take its card for lost.
  bool MissesPulls(LONGLONG now);
  // Goes on by the clock from where it stands.
  void Lose(LONGLONG now);
  bool IsLost() const { return m_lost; }
  // Samples that the clock alone has gone past since the last call; they count as handed over.
  ULONGLONG TakeLostFrames(LONGLONG now);

 private:
  double _OnLine(LONGLONG now) const;

  const double m_framesPerNanosecond;
  double m_latency = 0.0;
  double m_lineFrames = 0.0;  // a point of the line
  LONGLONG m_lineTime = 0;
  double m_last = 0.0;     // the furthest that was told
  ULONGLONG m_handed = 0;  // samples that the sound system has taken
  LONGLONG m_lastLook = 0;
  LONGLONG m_waited = 0;  // since the last pull, as far as somebody looked
  bool m_lost = false;
};
