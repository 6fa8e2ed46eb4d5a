#pragma once

#include <gtest/gtest.h>

#include "tests/support/RkAsleep.h"
#include "tests/support/RkFakes.h"

// A call on a thread of its own that is expected to block. The constructor returns when it does, so that
// the test goes on to what ends the wait; the destructor waits for its end.
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
  ~CBlockedCall() { m_thread.join(); }

  bool IsDone() const { return m_done; }

 private:
  std::atomic<DWORD> m_threadId = 0;
  std::atomic<bool> m_done = false;
  std::thread m_thread;
};
