#pragma once

#include "contracts/RkTypes.h"

// The sample of a stream that is heard at a moment, smooth although a sound system pulls in steps. Counts
// samples (of all channels together) since the start; moments are nanoseconds of the monotonic clock, given
// by the caller. Pure arithmetic; the owner locks.
//
// Between two pulls the position follows a line by the clock, but never beyond the samples handed over. An
// early or late pull moves the line by a fraction of its error, so that the jitter of the sound system's
// thread does not show in the position. Lose lifts the bound: the clock alone leads until the next pull.
// The position never runs backwards.
class CRkSmoothPosition {
 public:
  explicit CRkSmoothPosition(DWORD framesPerSecond) : m_framesPerNanosecond(framesPerSecond / 1e9) {}

  // From position 0, nothing handed over. `latencyFrames`: samples between those handed over and those
  // heard at the moment of a pull.
  void Start(LONGLONG now, DWORD latencyFrames);
  // From the next HandOver on.
  void SetLatency(DWORD frames) { m_latency = frames; }
  // The sound system has taken samples.
  void HandOver(DWORD frames, LONGLONG now);
  double Frames(LONGLONG now);

  // No pull for so long that none is to be expected. To be asked regularly: a pause between two calls
  // counts as 0.1 s at most, so that a process that was held up does not take its card for lost.
  bool MissesPulls(LONGLONG now);
  // Follows the clock from the present position on.
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
  double m_last = 0.0;     // the furthest reported
  ULONGLONG m_handed = 0;  // samples that the sound system has taken
  LONGLONG m_lastLook = 0;
  LONGLONG m_waited = 0;  // since the last pull, as far as somebody looked
  bool m_lost = false;
};
