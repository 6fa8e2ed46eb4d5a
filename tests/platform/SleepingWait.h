#pragma once

#include <pthread.h>

#include <future>
#include <utility>
#include <vector>

#include "tests/support/RkAsleep.h"

// A thread in a wait without end, asleep in it once constructed.
class CSleepingWait {
 public:
  CSleepingWait(std::vector<HANDLE> objects, bool all) {
    std::promise<DWORD> id;
    std::future<DWORD> started = id.get_future();
    m_result = std::async(std::launch::async, [this, objects = std::move(objects), all, &id] {
      m_thread = pthread_self();
      id.set_value(GetCurrentThreadId());
      return WaitForMultipleObjects(static_cast<DWORD>(objects.size()), objects.data(), all, INFINITE);
    });
    m_threadId = started.get();
    AwaitAsleep(m_threadId);
  }
  pthread_t Thread() const { return m_thread; }
  DWORD ThreadId() const { return m_threadId; }
  DWORD Result() { return m_result.get(); }

 private:
  std::future<DWORD> m_result;
  pthread_t m_thread{};
  DWORD m_threadId = 0;
};
