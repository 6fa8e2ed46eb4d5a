#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/CRkHandle.h"

namespace {

TEST(WaitStress, an_object_may_be_closed_as_soon_as_the_wait_has_returned) {
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
    const bool twoObjects = i % 2 == 0;
    const DWORD result =
        WaitForMultipleObjects(twoObjects ? 2 : 1, pair + (twoObjects ? 0 : 1), FALSE, INFINITE);
    EXPECT_EQ(result, WAIT_OBJECT_0 + (twoObjects ? 1 : 0));
    object = CRkHandle();
    RkWait(done, INFINITE);
  }
  setter.join();
}

TEST(WaitStress, what_was_signalled_first_and_has_the_lower_index_comes_first) {
  constexpr int kRounds = 20000;
  CRkHandle low = CRkHandle::AutoResetEvent();
  CRkHandle high = CRkHandle::Semaphore(0, 1);
  CRkHandle next = CRkHandle::AutoResetEvent();
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
}

TEST(WaitStress, waits_for_all_that_share_objects_never_hold_a_part) {
  CRkHandle fork[3] = {CRkHandle::Semaphore(1, 1), CRkHandle::Semaphore(1, 1), CRkHandle::Semaphore(1, 1)};
  std::array<std::atomic<int>, 3> users{};
  std::atomic<int> clashes{0};
  std::thread threads[3];
  for (int seat = 0; seat < 3; ++seat) {
    threads[seat] = std::thread([&, seat] {
      const int right = (seat + 1) % 3;
      const HANDLE both[] = {fork[seat], fork[right]};
      for (int i = 0; i < 20000; ++i) {
        // Asleep in turn with at every moment, so that several are at the locks together.
        while (WaitForMultipleObjects(2, both, TRUE, i % 4 == 0 ? INFINITE : 0) != WAIT_OBJECT_0) continue;
        clashes += users[seat]++ + users[right]++;
        --users[seat];
        --users[right];
        ReleaseSemaphore(both[1], 1, nullptr);
        ReleaseSemaphore(both[0], 1, nullptr);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(clashes, 0);
}

// Units go round over four semaphores, moved by threads whose waits overlap.
class CUnitsGoRound {
 public:
  CUnitsGoRound(int units, int moves) : m_units(units), m_moves(moves) {
    for (auto& place : m_places) place = CRkHandle::Semaphore(0, units);
  }

  // With timed waits, half of the threads wait for a moment only, for any or all of their places.
  void Run(bool timedWaits) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      const bool timed = timedWaits && t % 2 == 0;
      threads.emplace_back(timed ? &CUnitsGoRound::MoveTimed : &CUnitsGoRound::MoveEndless, this, t);
    }
    for (int i = 0; i < m_units; ++i) Put(i);
    for (auto& thread : threads) thread.join();
    for (auto& place : m_places) {
      while (RkWait(place, 0)) --m_units;
    }
    EXPECT_EQ(m_units, 0);
  }

 private:
  void Put(int number) {
    ReleaseSemaphore(m_places[number % 4], 1, nullptr);
    if (++m_done == m_moves) SetEvent(m_stop);
  }
  void MoveEndless(int t) {
    const HANDLE objects[] = {m_stop, m_places[t % 4], m_places[(t + 1) % 4], m_places[(t + 3) % 4]};
    const DWORD count = 3 + t / 4;
    for (int i = t; WaitForMultipleObjects(count, objects, FALSE, INFINITE) != WAIT_OBJECT_0; i += 7) Put(i);
  }
  void MoveTimed(int t) {
    const HANDLE objects[] = {m_places[t % 4], m_places[(t + 1) % 4]};
    for (int i = t; !RkWait(m_stop, 0); ++i) {
      const bool all = i % 2 == 0;
      if (WaitForMultipleObjects(2, objects, all, 1) == WAIT_TIMEOUT) continue;
      Put(i);
      if (all) Put(i + 1);
    }
  }

  int m_units;
  const int m_moves;
  std::atomic<int> m_done{0};
  CRkHandle m_places[4];
  CRkHandle m_stop = CRkHandle::ManualResetEvent();
};

// Somebody may take any of the units at any time, so they stand still only when a wake was lost.
TEST(WaitStress, overlapping_waits_lose_no_wake_and_no_unit) {
  for (int units = 1; units < 4; ++units) CUnitsGoRound(units, 20000).Run(false);
  CUnitsGoRound(3, 20000).Run(true);
}

}  // namespace
