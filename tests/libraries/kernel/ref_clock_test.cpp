#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "base/CRkRef.h"
#include "base/RkExactTime.h"
#include "contracts/RkKernel.h"

namespace {

TEST(soft_ref_clock, has_not_drifted_after_a_day_at_any_rate_of_the_table) {
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    const SRkFrameRateFraction fraction = kRkFrameRates[rate];
    const ULONGLONG ticks = ULONGLONG{fraction.numerator} * 86400;
    const ULONGLONG nanoseconds = ULONGLONG{fraction.denominator} * 86400 * 1'000'000'000;
    EXPECT_EQ(RkTimeOf(ticks, RkFractionOf(RkFramesPerSecond(rate))).count(),
              static_cast<int64_t>(nanoseconds));
    const ULONGLONG half = RkTimeOf(ticks / 2, RkFractionOf(RkFramesPerSecond(rate))).count();
    EXPECT_NEAR(static_cast<double>(half), static_cast<double>(nanoseconds) / 2, 1.0);
  }
  EXPECT_EQ(RkTimeOf(25, RkFractionOf(12.5)).count(), 2'000'000'000);
}

CRkRef<IRkSoftRefClock> MakeClock() {
  CRkRef<IRkSoftRefClock> clock;
  EXPECT_TRUE(RkCreateSoftRefClock(clock.Out()));
  return clock;
}

TEST(soft_ref_clock, gives_a_late_caller_every_tick_it_missed_and_none_early) {
  const auto clock = MakeClock();
  const auto start = std::chrono::steady_clock::now();
  clock->Start(50.0);
  const auto started = std::chrono::steady_clock::now();  // at the latest
  for (int i = 0; i < 5; ++i) clock->WaitTick(60000);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
  std::this_thread::sleep_until(started + std::chrono::milliseconds(400));
  for (int i = 5; i < 20; ++i) clock->WaitTick(0);  // all due already: none returns without its tick
  clock->WaitTick(60000);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(420));
}

TEST(soft_ref_clock, holds_nobody_while_it_is_stopped) {
  const auto clock = MakeClock();
  clock->WaitTick(1);
  std::atomic<bool> back = false;
  std::thread waiter([&] {
    clock->WaitTick(INFINITE);
    back = true;
  });
  while (!back) {
    clock->Start(0.001);
    clock->Stop();
  }
  waiter.join();
}

}  // namespace
