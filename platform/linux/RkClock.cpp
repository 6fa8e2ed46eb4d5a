#include <ctime>

#include "platform/RkPlatform.h"

namespace {

constexpr LONGLONG kNanosecondsPerSecond = 1'000'000'000;

LONGLONG MonotonicNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

BOOL Give(LARGE_INTEGER* out, LONGLONG value) {
  if (out == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  out->QuadPart = value;
  return TRUE;
}

}  // namespace

BOOL QueryPerformanceCounter(LARGE_INTEGER* counter) {
  return Give(counter, MonotonicNanoseconds());
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
  return Give(frequency, kNanosecondsPerSecond);
}

ULONGLONG GetTickCount64() {
  return static_cast<ULONGLONG>(MonotonicNanoseconds()) / 1'000'000;
}
