#include <algorithm>
#include <array>
#include <deque>

#include "base/CRkHandle.h"
#include "tests/support/RkBlockedCall.h"

namespace {

bool IsSignalled(HANDLE object) {
  return RkWait(object, 0);
}

TEST(event, manual_wakes_every_waiter_and_auto_wakes_one) {
  CRkHandle manual = CRkHandle::ManualResetEvent();
  CRkHandle automatic = CRkHandle::AutoResetEvent();
  const HANDLE objects[] = {automatic, manual};
  std::atomic<int> served = 0;
  std::deque<CBlockedCall> waits;  // more than one batch of wake-ups takes
  for (int i = 0; i < 20; ++i)
    waits.emplace_back(
        [&] { served += WaitForMultipleObjects(2, objects, FALSE, INFINITE) == WAIT_OBJECT_0 ? 1 : 0; });
  SetEvent(automatic);
  while (IsSignalled(automatic)) SetEvent(automatic);  // until a waiter has it
  SetEvent(manual);
  waits.clear();
  EXPECT_EQ(served, 1);
}

TEST(semaphore, counts_up_to_its_maximum_and_refuses_more) {
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
  EXPECT_FALSE(ReleaseSemaphore(semaphore, -1, nullptr));
  EXPECT_FALSE(IsSignalled(semaphore));
}

TEST(wait_any, takes_only_the_lowest_signalled_object_in_every_order) {
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

TEST(wait_all, takes_nothing_early_and_everything_at_once) {
  CRkHandle event = CRkHandle::AutoResetEvent();
  CRkHandle semaphore = CRkHandle::Semaphore(0, 4);
  CRkHandle manual = CRkHandle::ManualResetEvent();
  const HANDLE three[] = {event, semaphore, manual};
  CBlockedCall all([&] { EXPECT_EQ(WaitForMultipleObjects(3, three, TRUE, INFINITE), WAIT_OBJECT_0); });
  SetEvent(event);
  EXPECT_TRUE(IsSignalled(event));  // still there for somebody else
  ReleaseSemaphore(semaphore, 2, nullptr);
  SetEvent(manual);
  EXPECT_TRUE(IsSignalled(semaphore));  // and here the other unit
  SetEvent(event);
  all.Join();
  EXPECT_FALSE(IsSignalled(event));
  EXPECT_FALSE(IsSignalled(semaphore));
  EXPECT_TRUE(IsSignalled(manual));
}

}  // namespace
