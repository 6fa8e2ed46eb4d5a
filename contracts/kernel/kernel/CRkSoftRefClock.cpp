#include "contracts/kernel/kernel/CRkSoftRefClock.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace {

constexpr ULONGLONG kNanosecondsPerSecond = 1'000'000'000;

SRkFrameRateFraction FractionOf(double framesPerSecond) {
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    if (framesPerSecond == RkFramesPerSecond(rate)) return kRkFrameRates[rate];
  }
  constexpr UINT kSteps = 1000;
  const double steps = std::clamp(std::round(framesPerSecond * kSteps), 1.0, 4e9);
  return {static_cast<UINT>(steps), kSteps};
}

}  // namespace

std::chrono::nanoseconds RkTickTime(double framesPerSecond, ULONGLONG tick) {
  const SRkFrameRateFraction rate = FractionOf(framesPerSecond);
  // Whole runs of `numerator` ticks first, so that no product overflows.
  const ULONGLONG perRun = rate.denominator * kNanosecondsPerSecond;
  const ULONGLONG runs = tick / rate.numerator;
  const ULONGLONG rest = tick % rate.numerator;
  const double restNs = static_cast<double>(rest) * static_cast<double>(perRun) / rate.numerator;
  return std::chrono::nanoseconds(runs * perRun + static_cast<ULONGLONG>(restNs));
}

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
    const auto due = ticks ? m_start + RkTickTime(m_framesPerSecond, m_nextTick) : deadline;
    const bool changed =
        m_changed.wait_until(lock, std::min(due, deadline), [&] { return m_starts != starts; });
    if (changed && m_framesPerSecond > 0.0) continue;
    if (!changed && ticks && due <= deadline) ++m_nextTick;
    return;
  }
}

int RkCreateSoftRefClock(IRkSoftRefClock** clock) {
  auto* const created = new (std::nothrow) CRkSoftRefClock;
  if (created == nullptr) return 0;
  *clock = created;
  return 1;
}
