#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"

// Paces its caller by the monotonic clock. Any thread may enter. The mutex guards every field; waits release
// it, and Start and Stop end them.
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
  UINT m_starts = 0;  // Starts and Stops, by which a wait notices one
};
