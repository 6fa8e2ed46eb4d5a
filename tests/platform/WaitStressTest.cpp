#include <array>
#include <atomic>
#include <vector>

#include <gtest/gtest.h>

#include "platform/CRkHandle.h"
#include "tests/platform/Watchdog.h"

namespace {

TEST(WaitStress, an_object_may_be_closed_as_soon_as_the_wait_has_returned) {
  constexpr int kRounds = 6000;
  CRkHandle go = CRkHandle::AutoResetEvent();
  CRkHandle done = CRkHandle::AutoResetEvent();
  CRkHandle never = CRkHandle::AutoResetEvent();
  std::atomic<HANDLE> current{nullptr};
  RunUnderWatchdog([&] {
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
      const bool twoObjects = i % 2 == 0;
      const DWORD result =
          WaitForMultipleObjects(twoObjects ? 2 : 1, pair + (twoObjects ? 0 : 1), FALSE, INFINITE);
      EXPECT_EQ(result, WAIT_OBJECT_0 + (twoObjects ? 1 : 0));
      object = CRkHandle();
      RkWait(done, INFINITE);
    }
    setter.join();
  });
}

TEST(WaitStress, what_was_signalled_first_and_has_the_lower_index_comes_first) {
  constexpr int kRounds = 20000;
  CRkHandle low = CRkHandle::AutoResetEvent();
  CRkHandle high = CRkHandle::Semaphore(0, 1);
  CRkHandle next = CRkHandle::AutoResetEvent();
  RunUnderWatchdog([&] {
    std::thread setter([&] {
      for (int i = 0; i < kRounds; ++i) {
        SetEvent(low);
        ReleaseSemaphore(high, 1, nullptr);
        RkWait(next, INFINITE);
      }
    });
    const HANDLE pair[] = {low, high};
    int wrong = 0;
    for (int i = 0; i < kRounds; ++i) {
      // Tests again and again, for the wait that looks while the two are set.
      DWORD first = WAIT_TIMEOUT;
      while (first == WAIT_TIMEOUT) first = WaitForMultipleObjects(2, pair, FALSE, i % 2);
      wrong += first == WAIT_OBJECT_0 ? 0 : 1;
      WaitForMultipleObjects(2, pair, FALSE, INFINITE);
      SetEvent(next);
    }
    setter.join();
    EXPECT_EQ(wrong, 0);
  });
}

TEST(WaitStress, waits_for_all_that_share_objects_never_hold_a_part) {
  CRkHandle fork[3] = {CRkHandle::Semaphore(1, 1), CRkHandle::Semaphore(1, 1), CRkHandle::Semaphore(1, 1)};
  std::array<std::atomic<int>, 3> users{};
  std::atomic<int> clashes{0};
  RunUnderWatchdog([&] {
    std::vector<std::thread> threads;
    for (int seat = 0; seat < 3; ++seat) {
      threads.emplace_back([&, seat] {
        const int right = (seat + 1) % 3;
        const HANDLE both[] = {fork[seat], fork[right]};
        for (int i = 0; i < 5000; ++i) {
          WaitForMultipleObjects(2, both, TRUE, INFINITE);
          clashes += users[seat]++ + users[right]++;
          --users[seat];
          --users[right];
          ReleaseSemaphore(both[1], 1, nullptr);
          ReleaseSemaphore(both[0], 1, nullptr);
        }
      });
    }
    for (auto& thread : threads) thread.join();
  });
  EXPECT_EQ(clashes, 0);
}

TEST(WaitStress, a_waiter_that_another_object_served_passes_its_wake_on) {
  CRkHandle shared = CRkHandle::Semaphore(0, 2);
  CRkHandle own = CRkHandle::AutoResetEvent();
  CRkHandle turn = CRkHandle::AutoResetEvent();
  RunUnderWatchdog([&] {
    constexpr int kRounds = 2000;
    for (int i = 0; i < kRounds; ++i) {
      std::atomic<DWORD> ids[2] = {0, 0};
      DWORD picked = WAIT_FAILED;
      std::thread picky([&] {
        const HANDLE pair[] = {own, shared};
        ids[0] = GetCurrentThreadId();
        picked = WaitForMultipleObjects(2, pair, FALSE, INFINITE);
      });
      while (ids[0] == 0) std::this_thread::yield();
      AwaitAsleep(ids[0]);
      std::thread plain([&] {
        ids[1] = GetCurrentThreadId();
        RkWait(shared, INFINITE);
      });
      while (ids[1] == 0) std::this_thread::yield();
      AwaitAsleep(ids[1]);
      ReleaseSemaphore(shared, 1, nullptr);
      SetEvent(own);
      picky.join();
      if (picked != WAIT_OBJECT_0) ReleaseSemaphore(shared, 1, nullptr);
      plain.join();
      ResetEvent(own);
    }
  });
}

// Units go round over four semaphores, moved by threads whose waits overlap in every way. There is
// always somebody who may take any of them, so they stand still only when a wake was lost.
TEST(WaitStress, overlapping_waits_lose_neither_wakes_nor_units) {
  constexpr int kObjects = 4;
  constexpr int kUnits = 2;
  constexpr int kMoves = 20000;
  std::array<CRkHandle, kObjects> places;
  for (auto& place : places) place = CRkHandle::Semaphore(0, kUnits);
  CRkHandle stop = CRkHandle::ManualResetEvent();
  std::atomic<int> moves{0};
  const auto putSomewhere = [&](int number) {
    ReleaseSemaphore(places[number % kObjects], 1, nullptr);
    if (++moves == kMoves) SetEvent(stop);
  };
  RunUnderWatchdog([&] {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      // The even ones wait without end for two or three places, the odd ones for a moment: any or both.
      threads.emplace_back([&, t] {
        const HANDLE objects[] = {stop, places[t / 2 % 4], places[(t / 2 + 1) % 4], places[(t / 2 + 3) % 4]};
        const bool endless = t % 2 == 0;
        for (int i = t; !RkWait(stop, 0); ++i) {
          if (endless) {
            if (WaitForMultipleObjects(4 - t / 2 % 2, objects, FALSE, INFINITE) != 0) putSomewhere(i * 7 / 3);
          } else if (i % 2 == 0) {
            if (WaitForMultipleObjects(3, objects, FALSE, 1) - 1 < 2) putSomewhere(i);
          } else if (WaitForMultipleObjects(2, objects + 1, TRUE, 1) == WAIT_OBJECT_0) {
            putSomewhere(i);
            putSomewhere(i / 2);
          }
        }
      });
    }
    for (int i = 0; i < kUnits; ++i) putSomewhere(i);
    for (auto& thread : threads) thread.join();
  });
  int left = 0;
  for (auto& place : places) {
    while (RkWait(place, 0)) ++left;
  }
  EXPECT_EQ(left, kUnits);
}

}  // namespace
