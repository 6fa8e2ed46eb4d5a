#pragma once

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/RkFakes.h"

// Whether the kernel shows a thread of this process asleep, which in a test is when it is in its wait.
inline bool IsAsleep(DWORD threadId) {
#ifdef _WIN32
  // The system does not show it: gives the thread a while to get there. One that needs longer meets what the
  // test does next a little earlier, with the same outcome.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  return threadId != 0;
#else
  std::string line;
  std::getline(std::ifstream("/proc/self/task/" + std::to_string(threadId) + "/stat") >> std::ws, line);
  const size_t name = line.rfind(')');
  return name != std::string::npos && line.compare(name, 3, ") S") == 0;
#endif
}

// A call on a thread of its own that is expected to block. The constructor returns when it does, so that
// the test goes on to what ends the wait; Join, or the destructor, waits for its end.
class CBlockedCall {
 public:
  explicit CBlockedCall(std::function<void()> call)
      : m_thread([this, call = std::move(call)] {
          m_threadId = GetCurrentThreadId();
          call();
          m_done = true;
        }) {
    EXPECT_TRUE(WaitUntil([this] { return m_done || (m_threadId != 0 && IsAsleep(m_threadId)); }));
  }
  ~CBlockedCall() { Join(); }

  void Join() {
    if (m_thread.joinable()) m_thread.join();
  }
  bool IsDone() const { return m_done; }
  DWORD ThreadId() const { return m_threadId; }

 private:
  std::atomic<DWORD> m_threadId = 0;
  std::atomic<bool> m_done = false;
  std::thread m_thread;
};
