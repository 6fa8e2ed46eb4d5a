#include <csignal>

#include <unistd.h>

#include "base/CRkHandle.h"
#include "tests/support/RkBlockedCall.h"

// What the layer promises beyond Windows, which looks into fewer arguments and may end a wait a little early.

namespace {

TEST(handles, null_and_wrong_ones_are_refused) {
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

TEST(waits, refuse_what_they_cannot_wait_for) {
  std::vector<CRkHandle> owners(MAXIMUM_WAIT_OBJECTS + 1);
  std::vector<HANDLE> objects;
  for (auto& owner : owners)
    objects.push_back(owner = CRkHandle(CreateEventW(nullptr, FALSE, TRUE, nullptr)));
  const HANDLE twice[] = {objects[0], objects[1], objects[0]};
  const std::tuple<DWORD, const HANDLE*, BOOL> bad[] = {{MAXIMUM_WAIT_OBJECTS + 1, objects.data(), FALSE},
                                                        {MAXIMUM_WAIT_OBJECTS + 1, objects.data(), TRUE},
                                                        {0, objects.data(), FALSE},
                                                        {1, nullptr, FALSE},
                                                        {3, twice, TRUE}};
  for (const auto& [count, from, all] : bad) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(WaitForMultipleObjects(count, from, all, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }

  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, objects.data(), TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, objects.data(), FALSE, 0), WAIT_TIMEOUT);
  SetEvent(objects[63]);
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, objects.data(), FALSE, 0), WAIT_OBJECT_0 + 63);
}

TEST(waits, never_end_early_nor_for_nothing) {
  CRkHandle first = CRkHandle::AutoResetEvent();
  CRkHandle second = CRkHandle::AutoResetEvent();
  SetEvent(second);
  const HANDLE pair[] = {first, second};
  for (DWORD timeoutMs : {0U, 1U, 2U, 30U}) {
    for (const bool all : {false, true}) {
      const auto start = std::chrono::steady_clock::now();
      EXPECT_EQ(
          all ? WaitForMultipleObjects(2, pair, TRUE, timeoutMs) : WaitForSingleObject(first, timeoutMs),
          static_cast<DWORD>(WAIT_TIMEOUT));
      EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(timeoutMs));
    }
  }

  std::signal(SIGUSR1, [](int) {});
  CRkHandle single = CRkHandle::AutoResetEvent();
  CBlockedCall one([&] { EXPECT_EQ(WaitForSingleObject(single, INFINITE), WAIT_OBJECT_0); });
  CBlockedCall all([&] { EXPECT_EQ(WaitForMultipleObjects(2, pair, TRUE, INFINITE), WAIT_OBJECT_0); });
  for (int i = 0; i < 40; ++i) {
    const DWORD thread = (i % 2 == 0 ? one : all).ThreadId();
    tgkill(getpid(), static_cast<pid_t>(thread), SIGUSR1);
    EXPECT_TRUE(WaitUntil([&] { return IsAsleep(thread); }));
  }
  SetEvent(single);
  one.Join();
  EXPECT_TRUE(RkWait(second, 0));
  SetEvent(second);
  SetEvent(first);
}

}  // namespace
