#include "rkplay/system/ProcessorTime.h"

#include <pthread.h>

#include "platform/RkPlatform.h"

namespace {

std::chrono::nanoseconds Span(const FILETIME& time) {
  constexpr std::chrono::nanoseconds kUnit(100);
  return kUnit * ((static_cast<long long>(time.dwHighDateTime) << 32) + time.dwLowDateTime);
}

}  // namespace

std::chrono::nanoseconds rkplay::ProcessorTime(std::thread& thread) {
  const auto handle = static_cast<HANDLE>(pthread_gethandle(thread.native_handle()));
  FILETIME created{}, ended{}, kernel{}, user{};
  if (!GetThreadTimes(handle, &created, &ended, &kernel, &user)) return {};
  return Span(kernel) + Span(user);
}
