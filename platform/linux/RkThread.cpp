#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include "base/RkUtf8.h"
#include "platform/RkPlatform.h"

namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

constexpr std::size_t kNameBytes = 15;
constexpr int kBestNice = -20;
constexpr int kHighNice = -10;

bool IsCurrentThread(HANDLE thread) {
  return thread == GetCurrentThread();
}

bool Fail(DWORD code) {
  SetLastError(code);
  return false;
}

// As on Windows, threads that this one creates do not inherit its class.
bool SetClass(int policy, int priority) {
  sched_param parameters{};
  parameters.sched_priority = priority;
  return sched_setscheduler(0, policy | SCHED_RESET_ON_FORK, &parameters) == 0;
}

bool SetNice(int nice) {
  return setpriority(PRIO_PROCESS, GetCurrentThreadId(), nice) == 0;
}

// Raises to the wanted share, or as far as the process may; false when that is no more than it has.
bool RaiseShare(int wantedNice) {
  if (SetNice(wantedNice)) return true;
  rlimit limit{};
  if (getrlimit(RLIMIT_NICE, &limit) != 0) return false;
  const int allowed = 20 - static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 40));
  return allowed < getpriority(PRIO_PROCESS, GetCurrentThreadId()) && SetNice(allowed);
}

// Keeps a share that was lowered for the whole process.
bool GiveShareBack() {
  return getpriority(PRIO_PROCESS, GetCurrentThreadId()) >= 0 || SetNice(0);
}

HRESULT FailedResult(DWORD code) {
  SetLastError(code);
  return static_cast<HRESULT>(0x80070000U | code);
}

}  // namespace

DWORD GetLastError() {
  return t_lastError;
}

void SetLastError(DWORD code) {
  t_lastError = code;
}

// Asks the kernel once per thread, since every log line names its thread.
DWORD GetCurrentThreadId() {
  thread_local const auto id = static_cast<DWORD>(gettid());
  return id;
}

// An address without the mark of an event or semaphore.
HANDLE GetCurrentThread() {
  static constinit std::uint64_t current = 0;
  return &current;
}

BOOL SetThreadPriority(HANDLE thread, int priority) {
  if (!IsCurrentThread(thread)) return Fail(ERROR_INVALID_HANDLE);
  bool done = false;
  switch (priority) {
    case THREAD_PRIORITY_TIME_CRITICAL:
      done = SetClass(SCHED_RR, sched_get_priority_min(SCHED_RR)) || RaiseShare(kBestNice);
      break;
    case THREAD_PRIORITY_HIGHEST:
      done = SetClass(SCHED_OTHER, 0) && RaiseShare(kHighNice);
      break;
    case THREAD_PRIORITY_NORMAL:
      done = SetClass(SCHED_OTHER, 0) && GiveShareBack();
      break;
    default:
      return Fail(ERROR_INVALID_PARAMETER);
  }
  return done || Fail(ERROR_NOT_SUPPORTED);
}

HRESULT SetThreadDescription(HANDLE thread, PCWSTR description) {
  if (!IsCurrentThread(thread)) return FailedResult(ERROR_INVALID_HANDLE);
  if (description == nullptr) return FailedResult(ERROR_INVALID_PARAMETER);
  std::string name;
  while (*description != L'\0') {
    const SRkUtf8Character character = RkUtf8(RkNextCharacter(description));
    if (name.size() + static_cast<std::size_t>(character.count) > kNameBytes) break;
    name.append(character.bytes, static_cast<std::size_t>(character.count));
  }
  return pthread_setname_np(pthread_self(), name.c_str()) == 0 ? 0 : FailedResult(ERROR_NOT_SUPPORTED);
}

DWORD SetThreadExecutionState(DWORD flags) {
  thread_local DWORD state = ES_CONTINUOUS;
  if ((flags & ~(ES_CONTINUOUS | ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED)) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const DWORD previous = state;
  // Flags without ES_CONTINUOUS last only for the call.
  if ((flags & ES_CONTINUOUS) != 0) state = flags;
  return previous;
}
