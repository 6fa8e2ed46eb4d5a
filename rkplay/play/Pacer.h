#pragma once

#include <algorithm>
#include <chrono>
#include <thread>

#include "rkplay/cli/FrameRate.h"

namespace rkplay {

// Holds frames back until they are due. Every due time comes from the count of frames since the start, so
// no error adds up; frames after a late one catch up.
class Pacer {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Pacer(int frameRate) : m_frameRate(frameRate) {}

  // The next frame is due at once and counts as the first.
  void Restart() { m_frames = 0; }

  void WaitForNextFrame() {
    const Clock::time_point now = Clock::now();
    if (m_frames == 0) m_start = now;
    const Clock::time_point due = m_start + FrameTime(m_frameRate, m_frames++);
    std::this_thread::sleep_until(due);
    const std::chrono::nanoseconds late = now - due;
    if (late > FrameTime(m_frameRate, 1)) ++m_lateFrames;
    m_worstLate = std::max(m_worstLate, late);
  }

  // Frames that came more than one frame period after they were due.
  ULONGLONG LateFrames() const { return m_lateFrames; }
  std::chrono::nanoseconds WorstLate() const { return m_worstLate; }

 private:
  const int m_frameRate;
  ULONGLONG m_frames = 0;
  Clock::time_point m_start;
  ULONGLONG m_lateFrames = 0;
  std::chrono::nanoseconds m_worstLate{0};
};

}  // namespace rkplay
