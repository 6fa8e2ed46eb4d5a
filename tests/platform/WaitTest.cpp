#include <csignal>

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/CRkHandle.h"
#include "tests/support/RkAsleep.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

bool IsSignalled(HANDLE object) {
  return RkWait(object, 0);
}

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
  // Wakes the thread for nothing.
  void Interrupt() const {
    pthread_kill(m_thread, SIGUSR1);
    AwaitAsleep(m_threadId);
  }
  DWORD Result() { return m_result.get(); }

 private:
  std::future<DWORD> m_result;
  pthread_t m_thread{};
  DWORD m_threadId = 0;
};

TEST(Event, manual_wakes_every_waiter_and_auto_wakes_one) {
  CRkHandle manual = CRkHandle::ManualResetEvent();
  CRkHandle automatic = CRkHandle::AutoResetEvent();
  // More waiters than one batch of wake-ups takes.
  std::vector<std::unique_ptr<CSleepingWait>> waits;
  waits.reserve(20);
  for (int i = 0; i < 20; ++i) {
    waits.push_back(std::make_unique<CSleepingWait>(std::vector<HANDLE>{automatic, manual}, false));
  }
  SetEvent(automatic);
  while (IsSignalled(automatic)) SetEvent(automatic);  // until a waiter has it
  SetEvent(manual);
  int served = 0;
  for (auto& wait : waits) served += wait->Result() == WAIT_OBJECT_0 ? 1 : 0;
  EXPECT_EQ(served, 1);
}

TEST(Semaphore, counts_up_to_its_maximum_and_refuses_more) {
  for (auto [initial, maximum] : {std::pair<LONG, LONG>{0, 0}, {0, -1}, {-1, 1}, {2, 1}}) {
    EXPECT_EQ(CreateSemaphoreW(nullptr, initial, maximum, nullptr), nullptr);
  }
  CRkHandle semaphore = CRkHandle::Semaphore(1, 3);
  LONG previous = -1;
  EXPECT_TRUE(ReleaseSemaphore(semaphore, 2, &previous));
  EXPECT_EQ(previous, 1);
  EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, &previous));
  EXPECT_EQ(GetLastError(), ERROR_TOO_MANY_POSTS);
  EXPECT_EQ(previous, 1);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(IsSignalled(semaphore));
  EXPECT_FALSE(IsSignalled(semaphore));
  EXPECT_FALSE(ReleaseSemaphore(semaphore, 4, nullptr));
  EXPECT_FALSE(ReleaseSemaphore(semaphore, 0, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(ReleaseSemaphore(semaphore, -1, nullptr));
  EXPECT_FALSE(IsSignalled(semaphore));
}

TEST(Handles, null_and_wrong_ones_are_refused) {
  CRkHandle event = CRkHandle::AutoResetEvent();
  CRkHandle semaphore = CRkHandle::Semaphore(0, 1);
  const auto refused = [](BOOL result) {
    const DWORD code = GetLastError();
    SetLastError(ERROR_SUCCESS);
    return !result && code == ERROR_INVALID_HANDLE;
  };
  alignas(16) int notAnObject[64] = {};
  for (HANDLE wrong : {HANDLE{}, GetCurrentThread(), static_cast<HANDLE>(notAnObject)}) {
    EXPECT_TRUE(refused(SetEvent(wrong)));
    EXPECT_TRUE(refused(ResetEvent(wrong)));
    EXPECT_TRUE(refused(ReleaseSemaphore(wrong, 1, nullptr)));
    EXPECT_TRUE(refused(CloseHandle(wrong)));
    EXPECT_TRUE(refused(WaitForSingleObject(wrong, 0) != WAIT_FAILED));
    const HANDLE pair[] = {event, wrong};
    EXPECT_TRUE(refused(WaitForMultipleObjects(2, pair, FALSE, 0) != WAIT_FAILED));
    EXPECT_TRUE(refused(WaitForMultipleObjects(2, pair, TRUE, 0) != WAIT_FAILED));
  }
  EXPECT_TRUE(refused(SetEvent(semaphore)));
  EXPECT_TRUE(refused(ResetEvent(semaphore)));
  EXPECT_TRUE(refused(ReleaseSemaphore(event, 1, nullptr)));
}

TEST(Waits, refuse_what_they_cannot_wait_for) {
  std::vector<CRkHandle> owners;
  std::vector<HANDLE> objects;
  for (DWORD i = 0; i <= MAXIMUM_WAIT_OBJECTS; ++i) {
    owners.push_back(CRkHandle(CreateEventW(nullptr, FALSE, TRUE, nullptr)));
    objects.push_back(owners.back());
  }
  const auto refused = [&](DWORD count, const HANDLE* from, BOOL all) {
    SetLastError(ERROR_SUCCESS);
    return WaitForMultipleObjects(count, from, all, 0) == WAIT_FAILED &&
           GetLastError() == ERROR_INVALID_PARAMETER;
  };
  EXPECT_TRUE(refused(MAXIMUM_WAIT_OBJECTS + 1, objects.data(), FALSE));
  EXPECT_TRUE(refused(MAXIMUM_WAIT_OBJECTS + 1, objects.data(), TRUE));
  EXPECT_TRUE(refused(0, objects.data(), FALSE));
  EXPECT_TRUE(refused(1, nullptr, FALSE));
  const HANDLE twice[] = {objects[0], objects[1], objects[0]};
  EXPECT_TRUE(refused(3, twice, TRUE));

  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, objects.data(), TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, objects.data(), FALSE, 0), WAIT_TIMEOUT);
  SetEvent(objects[63]);
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, objects.data(), FALSE, 0), WAIT_OBJECT_0 + 63);
}

TEST(WaitAny, takes_only_the_lowest_signalled_object_in_every_order) {
  CRkHandle event = CRkHandle::AutoResetEvent();
  CRkHandle semaphore = CRkHandle::Semaphore(0, 1);
  CRkHandle manual = CRkHandle::ManualResetEvent();
  std::array<HANDLE, 3> order{event, semaphore, manual};
  std::sort(order.begin(), order.end());
  do {
    for (unsigned signalled = 1; signalled < 8; ++signalled) {
      DWORD lowest = 3;
      for (DWORD i = 3; i-- > 0;) {
        if ((signalled >> i & 1) == 0) continue;
        lowest = i;
        if (!SetEvent(order[i])) ReleaseSemaphore(order[i], 1, nullptr);
      }
      EXPECT_EQ(WaitForMultipleObjects(3, order.data(), FALSE, INFINITE), WAIT_OBJECT_0 + lowest);
      for (DWORD i = 0; i < 3; ++i) {
        const bool remains = (signalled >> i & 1) != 0 && (i != lowest || order[i] == manual);
        EXPECT_EQ(IsSignalled(order[i]), remains) << "object " << i << " of " << signalled;
      }
      ResetEvent(manual);
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(WaitAll, takes_nothing_early_and_everything_at_once) {
  CRkHandle event = CRkHandle::AutoResetEvent();
  CRkHandle semaphore = CRkHandle::Semaphore(0, 4);
  CRkHandle manual = CRkHandle::ManualResetEvent();
  CSleepingWait all({event, semaphore, manual}, true);
  SetEvent(event);
  EXPECT_TRUE(IsSignalled(event));  // still there for somebody else
  ReleaseSemaphore(semaphore, 2, nullptr);
  SetEvent(manual);
  EXPECT_TRUE(IsSignalled(semaphore));  // and here the other unit
  SetEvent(event);
  EXPECT_EQ(all.Result(), WAIT_OBJECT_0);
  EXPECT_FALSE(IsSignalled(event));
  EXPECT_FALSE(IsSignalled(semaphore));
  EXPECT_TRUE(IsSignalled(manual));

  const HANDLE objects[] = {semaphore, event};
  SetEvent(event);
  EXPECT_EQ(WaitForMultipleObjects(2, objects, TRUE, 0), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForMultipleObjects(2, objects, TRUE, 1), WAIT_TIMEOUT);
  EXPECT_TRUE(IsSignalled(event));
}

TEST(Waits, never_end_early_nor_for_nothing) {
  CRkHandle first = CRkHandle::AutoResetEvent();
  CRkHandle second = CRkHandle::AutoResetEvent();
  SetEvent(second);
  const HANDLE pair[] = {first, second};
  for (DWORD timeoutMs : {0U, 1U, 2U, 30U}) {
    const auto start = Clock::now();
    EXPECT_EQ(WaitForSingleObject(first, timeoutMs), WAIT_TIMEOUT);
    EXPECT_GE(Clock::now() - start, milliseconds(timeoutMs));
    const auto again = Clock::now();
    EXPECT_EQ(WaitForMultipleObjects(2, pair, TRUE, timeoutMs), WAIT_TIMEOUT);
    EXPECT_GE(Clock::now() - again, milliseconds(timeoutMs));
  }

  std::signal(SIGUSR1, [](int) {});
  CRkHandle single = CRkHandle::AutoResetEvent();
  CSleepingWait one({single}, false);
  CSleepingWait all({first, second}, true);
  for (int i = 0; i < 20; ++i) {
    one.Interrupt();
    all.Interrupt();
  }
  SetEvent(single);
  EXPECT_EQ(one.Result(), WAIT_OBJECT_0);
  EXPECT_TRUE(IsSignalled(second));
  SetEvent(second);
  SetEvent(first);
  EXPECT_EQ(all.Result(), WAIT_OBJECT_0);
}

}  // namespace
