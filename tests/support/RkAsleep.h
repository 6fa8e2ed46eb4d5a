#pragma once

#include <fstream>
#include <string>
#include <thread>

#include "platform/RkPlatform.h"

#ifdef _WIN32

// The system does not show whether a thread waits: gives it a while to get there. A thread that needs longer
// meets what the test does next a little earlier, with the same outcome.
inline bool IsAsleep(DWORD) {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  return true;
}

#else

// Whether the kernel shows a thread of this process asleep, which in a test is when it is in its wait.
inline bool IsAsleep(DWORD threadId) {
  std::string line;
  std::getline(std::ifstream("/proc/self/task/" + std::to_string(threadId) + "/stat") >> std::ws, line);
  const size_t name = line.rfind(')');
  return name != std::string::npos && line.compare(name, 3, ") S") == 0;
}

#endif

inline void AwaitAsleep(DWORD threadId) {
  while (!IsAsleep(threadId)) std::this_thread::yield();
}
