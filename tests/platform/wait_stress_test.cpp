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

// Threads whose waits overlap move units around four semaphores.
class CUnitsGoRound {
 public:
  explicit CUnitsGoRound(int units) : m_units(units) {
    for (auto& place : m_places) place = CRkHandle::Semaphore(0, units);
  }

  // With timed waits, half of the threads wait 1 ms for any or all of their places.
  void Run(bool timedWaits) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      const auto move = timedWaits && t % 2 == 0 ? &CUnitsGoRound::MoveTimed : &CUnitsGoRound::MoveEndless;
      threads.emplace_back(move, this, t);
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
    if (++m_done == 20000) SetEvent(m_stop);
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
  std::atomic<int> m_done{0};
  CRkHandle m_places[4];
  CRkHandle m_stop = CRkHandle::ManualResetEvent();
};

// Some thread can always take a unit, so the units stop only when a wake-up was lost.
TEST(wait_stress, overlapping_waits_lose_no_wake_and_no_unit) {
  for (int units = 1; units < 4; ++units) CUnitsGoRound(units).Run(false);
  CUnitsGoRound(3).Run(true);
}

}  // namespace
