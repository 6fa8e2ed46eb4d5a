#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "platform/RkPlatform.h"

// Runs the work on a thread of its own. Work that hangs cannot be ended, so it takes the program along.
template <class Work>
void RunUnderWatchdog(Work work) {
  std::packaged_task<void()> task(std::move(work));
  std::future<void> done = task.get_future();
  std::thread thread(std::move(task));
  if (done.wait_for(std::chrono::minutes(2)) != std::future_status::ready) {
    std::fputs("a wait never returned\n", stderr);
    std::abort();
  }
  thread.join();
}

// Returns when the kernel shows the thread asleep, which in a test is when it is in its wait.
inline void AwaitAsleep(DWORD threadId) {
  const std::string path = "/proc/self/task/" + std::to_string(threadId) + "/stat";
  for (;;) {
    std::string line;
    std::getline(std::ifstream(path) >> std::ws, line);
    const std::size_t name = line.rfind(')');
    if (name != std::string::npos && line.size() > name + 2 && line[name + 2] == 'S') return;
    std::this_thread::yield();
  }
}
