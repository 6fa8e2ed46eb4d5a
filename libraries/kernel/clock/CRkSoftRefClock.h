#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"

// Paces its caller by the monotonic clock. Any thread may enter. The mutex guards every field; waiting
// leaves it, and Start and Stop wake who waits.
class CRkSoftRefClock final : public CRkUnknown<IRkSoftRefClock> {
 public:
  void Start(double framesPerSecond) override;
  void WaitTick(UINT timeoutMs) override;
  void Stop() override;

 private:
  using Clock = std::chrono::steady_clock;

  std::mutex m_mutex;
  std::condition_variable m_changed;
  double m_framesPerSecond = 0.0;  // 0 while stopped
  Clock::time_point m_start;
  ULONGLONG m_nextTick = 1;
  UINT m_starts = 0;  // tells a wait that the clock was started or stopped anew
};
