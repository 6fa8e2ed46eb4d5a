#include <gtest/gtest.h>

#include <random>

#include "libraries/kernel/audio/CRkNotifyTimer.h"
#include "libraries/kernel/audio/CRkSmoothPosition.h"
#include "libraries/kernel/audio/CRkVirtualSoundOutput.h"

namespace {

constexpr DWORD kPeriod = 480;  // 10 ms at 48 kHz
constexpr LONGLONG kMs = 1'000'000;
constexpr LONGLONG kStart = 5'000'000'000'123;

class audio_renderer_position : public testing::Test {
 protected:
  audio_renderer_position() { m_position.Start(kStart, 0); }

  void Pull(LONGLONG afterStart) {
    m_position.HandOver(kPeriod, kStart + afterStart);
    m_handed += kPeriod;
  }
  // Also that it never runs backwards nor beyond what has been handed over.
  double Ms(LONGLONG afterStart) {
    const double frames = m_position.Frames(kStart + afterStart);
    EXPECT_GE(frames, m_last);
    EXPECT_LE(frames, static_cast<double>(m_handed));
    m_last = frames;
    return frames / 48;
  }

  CRkSmoothPosition m_position{48000};
  ULONGLONG m_handed = 0;
  double m_last = 0.0;
};

TEST_F(audio_renderer_position, runs_evenly_through_pulls_that_come_unevenly) {
  std::mt19937 random(7);
  std::uniform_int_distribution<LONGLONG> jitter(-3 * kMs, 3 * kMs);
  double last = 0.0;
  for (LONGLONG ms = 0; ms < 5000; ++ms) {
    if (ms % 10 == 0) Pull(ms * kMs + (ms == 0 ? 0 : jitter(random)));
    const double now = Ms(ms * kMs);
    EXPECT_NEAR(now, static_cast<double>(ms), 4.0);
    EXPECT_LT(now - last, 2.0);
    last = now;
  }
}

TEST_F(audio_renderer_position, follows_a_card_that_runs_at_another_pace_than_the_clock) {
  for (LONGLONG pull = 0; pull < 6000; ++pull) Pull(pull * 10 * kMs * 999 / 1000);
  EXPECT_NEAR(Ms(59940 * kMs), 60000.0, 1.0);
}

TEST_F(audio_renderer_position, waits_at_what_was_handed_over_and_goes_on_from_there) {
  EXPECT_EQ(Ms(5 * kMs), 0.0);
  Pull(5 * kMs);
  EXPECT_NEAR(Ms(9 * kMs), 4.0, 1e-6);
  EXPECT_EQ(Ms(400 * kMs), 10.0);
  Pull(400 * kMs);
  EXPECT_NEAR(Ms(403 * kMs), 13.0, 1e-6);
  // A burst that makes up for the gap is caught up with, not jumped over.
  for (int i = 0; i < 38; ++i) Pull(404 * kMs);
  EXPECT_LT(Ms(404 * kMs), 350.0);
  for (LONGLONG pull = 0; pull < 40; ++pull) Pull((405 + 10 * pull) * kMs);
  EXPECT_NEAR(Ms(795 * kMs), 790.0, 2.0);
}

TEST(audio_renderer_notifications, come_at_their_interval_and_never_in_bursts) {
  CRkNotifyTimer timer;
  EXPECT_FALSE(timer.Take(kStart));
  timer.SetInterval(1000.0 / 62, kStart);
  EXPECT_EQ(timer.Due(), CRkNotifyTimer::kNever);
  timer.Start(kStart);
  EXPECT_FALSE(timer.Take(kStart));
  // Each is due at its own multiple, whenever the ones before it were taken.
  for (LONGLONG number = 1; number <= 62 * 3600; ++number) {
    const LONGLONG due = kStart + (number * 1'000'000'000 + 31) / 62;
    ASSERT_NEAR(static_cast<double>(timer.Due() - due), 0.0, 1.0);
    ASSERT_FALSE(timer.Take(timer.Due() - 1));
    ASSERT_TRUE(timer.Take(timer.Due() + number % 7 * kMs));
  }
  EXPECT_TRUE(timer.Take(kStart + 7200'000 * kMs));
  EXPECT_FALSE(timer.Take(kStart + 7200'000 * kMs));
}

TEST(virtual_sound_card, does_not_drift_at_any_rate) {
  for (const DWORD rate : {8000u, 11025u, 44100u, 48000u, 192000u, 50u}) {
    CRkSoundPeriods periods(rate, 10.0);
    periods.Start(kStart);
    // So many periods are whole seconds; each is taken a little late.
    for (DWORD number = 0; number < rate; ++number) {
      const LONGLONG due = periods.Due();
      const double exact = static_cast<double>(number) * periods.Frames() * 1e9 / rate;
      ASSERT_NEAR(static_cast<double>(due - kStart), exact, 1.0);
      periods.Take(due + number % 40 * kMs);
    }
    EXPECT_EQ(periods.Due(), kStart + LONGLONG{periods.Frames()} * 1'000'000'000);
  }
}

TEST(virtual_sound_card, goes_on_from_the_end_of_a_stall) {
  CRkSoundPeriods periods(48000, 10.0);
  periods.Start(kStart);
  for (int i = 0; i < 3; ++i) periods.Take(periods.Due());
  periods.Take(kStart + 1030 * kMs);
  EXPECT_EQ(periods.Due(), kStart + 1040 * kMs);
  periods.Take(kStart + 1045 * kMs);
  EXPECT_EQ(periods.Due(), kStart + 1050 * kMs);
}

}  // namespace
