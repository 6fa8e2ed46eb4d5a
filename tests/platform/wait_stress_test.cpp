#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/CRkHandle.h"

namespace {

TEST(wait_stress, an_object_may_be_closed_as_soon_as_the_wait_has_returned) {
  constexpr int kRounds = 6000;
  CRkHandle go = CRkHandle::AutoResetEvent();
  CRkHandle done = CRkHandle::AutoResetEvent();
  CRkHandle never = CRkHandle::AutoResetEvent();
  std::atomic<HANDLE> current{nullptr};
  std::thread setter([&] {
    for (int i = 0; i < kRounds; ++i) {
      RkWait(go, INFINITE);
      if (!SetEvent(current)) ReleaseSemaphore(current, 1, nullptr);
      SetEvent(done);
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    CRkHandle object = i % 3 == 0   ? CRkHandle::AutoResetEvent()
                       : i % 3 == 1 ? CRkHandle::ManualResetEvent()
                                    : CRkHandle::Semaphore(0, 1);
    current = object;
    SetEvent(go);
    const HANDLE pair[] = {never, object};
    if (i % 2 == 0) {
      EXPECT_EQ(WaitForMultipleObjects(2, pair, FALSE, INFINITE), WAIT_OBJECT_0 + 1);
    } else {
      EXPECT_TRUE(RkWait(object, INFINITE));
    }
    object = CRkHandle();
    RkWait(done, INFINITE);
  }
  setter.join();
}

// Threads whose waits overlap move units around four semaphores. Half of them may wait 1 ms for any or all of
// their places. Some thread can always take a unit, so the units stop only when a wake-up was lost.
void MoveUnits(int units, bool timedWaits) {
  const CRkHandle stop = CRkHandle::ManualResetEvent();
  const CRkHandle places[] = {CRkHandle::Semaphore(0, units), CRkHandle::Semaphore(0, units),
                              CRkHandle::Semaphore(0, units), CRkHandle::Semaphore(0, units)};
  std::atomic<int> done{0};
  const auto put = [&](int number) {
    ReleaseSemaphore(places[number % 4], 1, nullptr);
    if (++done == 20000) SetEvent(stop);
  };
  const auto move = [&](int t) {
    const HANDLE objects[] = {stop, places[t % 4], places[(t + 1) % 4], places[(t + 3) % 4]};
    if (!timedWaits || t % 2 != 0) {
      const DWORD count = 3 + t / 4;
      for (int i = t; WaitForMultipleObjects(count, objects, FALSE, INFINITE) != WAIT_OBJECT_0; i += 7)
        put(i);
      return;
    }
    for (int i = t; !RkWait(stop, 0); ++i) {
      const bool all = i % 2 == 0;
      if (WaitForMultipleObjects(2, objects + 1, all, 1) == WAIT_TIMEOUT) continue;
      put(i);
      if (all) put(i + 1);
    }
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) threads.emplace_back(move, t);
  for (int i = 0; i < units; ++i) put(i);
  for (auto& thread : threads) thread.join();
  int left = 0;
  for (const auto& place : places) {
    while (RkWait(place, 0)) ++left;
  }
  EXPECT_EQ(left, units);
}

TEST(wait_stress, overlapping_waits_lose_no_wake_and_no_unit) {
  for (int units = 1; units < 4; ++units) MoveUnits(units, false);
  MoveUnits(3, true);
}

}  // namespace
