#pragma once

#include <fstream>
#include <string>
#include <thread>

#include "platform/RkPlatform.h"

// Whether the kernel reports a thread of this process as asleep; in a test that thread is then in its wait.
inline bool IsAsleep(DWORD threadId) {
  std::string line;
  std::getline(std::ifstream("/proc/self/task/" + std::to_string(threadId) + "/stat") >> std::ws, line);
  const size_t name = line.rfind(')');
  return name != std::string::npos && line.compare(name, 3, ") S") == 0;
}

inline void AwaitAsleep(DWORD threadId) {
  while (!IsAsleep(threadId)) std::this_thread::yield();
}
