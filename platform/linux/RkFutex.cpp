#include "platform/linux/RkFutex.h"

#include <cerrno>

#include <linux/futex.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

static_assert(sizeof(RkFutexWord) == sizeof(std::uint32_t) && RkFutexWord::is_always_lock_free);

namespace {

constexpr long kNanosecondsPerSecond = 1'000'000'000;

// The kernel's default slack of 50 us is a twentieth of the engine's shortest wait.
void LowerTimerSlack() {
  thread_local bool lowered = false;
  if (lowered) return;
  lowered = true;
  prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
}

}  // namespace

CRkWakeMoment::CRkWakeMoment(DWORD timeoutMs) : m_infinite(timeoutMs == INFINITE) {
  if (m_infinite) return;
  clock_gettime(CLOCK_MONOTONIC, &m_moment);
  m_moment.tv_sec += timeoutMs / 1000;
  m_moment.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1'000'000;
  if (m_moment.tv_nsec >= kNanosecondsPerSecond) {
    m_moment.tv_nsec -= kNanosecondsPerSecond;
    ++m_moment.tv_sec;
  }
}

ERkPark RkFutexWait(RkFutexWord& word, std::uint32_t value, const CRkWakeMoment& deadline) {
  if (deadline.Moment() != nullptr) LowerTimerSlack();
  const long result = syscall(SYS_futex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, value,
                              deadline.Moment(), nullptr, FUTEX_BITSET_MATCH_ANY);
  if (result == 0 || errno == EAGAIN || errno == EINTR) return ERkPark::Woken;
  return errno == ETIMEDOUT ? ERkPark::TimedOut : ERkPark::Failed;
}

void RkFutexWake(RkFutexWord* word) {
  syscall(SYS_futex, word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, 1, nullptr, nullptr, 0);
}
