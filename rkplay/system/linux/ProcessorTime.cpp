#include "rkplay/system/ProcessorTime.h"

#include <pthread.h>

#include <ctime>

std::chrono::nanoseconds rkplay::ProcessorTime(std::thread& thread) {
  clockid_t clock{};
  timespec used{};
  if (pthread_getcpuclockid(thread.native_handle(), &clock) != 0) return {};
  clock_gettime(clock, &used);
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}
