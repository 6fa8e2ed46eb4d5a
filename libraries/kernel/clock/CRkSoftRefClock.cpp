#include "libraries/kernel/clock/CRkSoftRefClock.h"

#include <algorithm>

#include "base/RkCreateObject.h"
#include "base/RkExactTime.h"

void CRkSoftRefClock::Start(double framesPerSecond) {
  std::lock_guard lock(m_mutex);
  m_framesPerSecond = std::max(framesPerSecond, 0.0);
  m_start = Clock::now();
  m_nextTick = 1;
  ++m_starts;
  m_changed.notify_all();
}

void CRkSoftRefClock::Stop() {
  Start(0.0);
}

void CRkSoftRefClock::WaitTick(UINT timeoutMs) {
  std::unique_lock lock(m_mutex);
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  while (true) {
    const UINT starts = m_starts;
    const bool ticks = m_framesPerSecond > 0.0;
    const auto due = ticks ? m_start + RkTimeOf(m_nextTick, RkFractionOf(m_framesPerSecond)) : deadline;
    const bool changed =
        m_changed.wait_until(lock, std::min(due, deadline), [&] { return m_starts != starts; });
    if (changed && m_framesPerSecond > 0.0) continue;
    if (!changed && ticks && due <= deadline) ++m_nextTick;
    return;
  }
}

int RkCreateSoftRefClock(IRkSoftRefClock** clock) {
  return RkCreate<CRkSoftRefClock>(clock);
}
