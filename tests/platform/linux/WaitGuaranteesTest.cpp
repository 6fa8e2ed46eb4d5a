#include <csignal>

#include <chrono>
#include <vector>

#include <gtest/gtest.h>

#include "base/CRkHandle.h"
#include "tests/platform/SleepingWait.h"

// What the layer promises beyond Windows, which looks into fewer arguments and may end a wait a little early.

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

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
  EXPECT_FALSE(ReleaseSemaphore(semaphore, 0, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
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
    for (const auto* const wait : {&one, &all}) {
      pthread_kill(wait->Thread(), SIGUSR1);
      AwaitAsleep(wait->ThreadId());
    }
  }
  SetEvent(single);
  EXPECT_EQ(one.Result(), WAIT_OBJECT_0);
  EXPECT_TRUE(RkWait(second, 0));
  SetEvent(second);
  SetEvent(first);
  EXPECT_EQ(all.Result(), WAIT_OBJECT_0);
}

}  // namespace
