#include "base/RkExactTime.h"
#include "tests/support/RkBlockedCall.h"

namespace {

TEST(soft_ref_clock, has_not_drifted_after_a_day_at_any_rate_of_the_table) {
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    const auto fraction = RkFractionOf(RkFramesPerSecond(rate));
    const ULONGLONG ticks = ULONGLONG{kRkFrameRates[rate].numerator} * 86400;
    const int64_t nanoseconds = int64_t{kRkFrameRates[rate].denominator} * 86400 * 1'000'000'000;
    EXPECT_EQ(RkTimeOf(ticks, fraction).count(), nanoseconds);
  }
  EXPECT_EQ(RkTimeOf(4'000'000'000, kRkFrameRates[RkFrameRate_60]).count(), 66'666'666'666'666'666);
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
  CBlockedCall waiter([&] { clock->WaitTick(INFINITE); });
  while (!waiter.IsDone()) {
    clock->Start(0.001);
    clock->Stop();
  }
}

}  // namespace
