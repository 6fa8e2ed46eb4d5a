#include <gtest/gtest.h>

#include "output_device/CRkSteadyPosition.h"
#include "tests/output_device/DeviceFakes.h"

namespace {

class CCountingPacing : public CRkPacing {
 public:
  using CRkPacing::CRkPacing;
  int passes = 0;
  int drains = 0;
  void Pass() override { ++passes; }
  void Drain() override { ++drains; }
};

TEST(pacing, waits_for_the_video_thread_after_a_stop_only_and_makes_the_last_frame_due) {
  for (const bool stops : {true, false}) {
    const SPacingEvents events;
    CRkShownFrame shown;
    ASSERT_TRUE(shown.Create());
    for (int i = 0; i < 5; ++i) shown.CountSubmitted();
    CCountingPacing pacing(shown, events.All());
    SetEvent(stops ? events.stop : events.exit);
    SetEvent(events.videoDone);
    pacing.Run();
    EXPECT_EQ(pacing.passes, 0);
    EXPECT_EQ(pacing.drains, 1);
    EXPECT_EQ(shown.Get(), 4U);
    EXPECT_TRUE(RkWait(events.audioDone, 0));
    EXPECT_EQ(RkWait(events.videoDone, 0), !stops);  // taken by the wait, where there is one
  }
}

TEST(sample_queue, a_full_one_gives_the_oldest_back_and_leaves_its_semaphore_alone) {
  CRkSampleQueue queue;
  ASSERT_TRUE(queue.Create(2));
  const CRkRef<IRkVideoSample> items[] = {MakeVideo(0), MakeVideo(1), MakeVideo(2)};
  CRkRef<IRkUnknown> dropped;
  EXPECT_FALSE(queue.Push(nullptr, dropped.Out()));
  for (int i : {0, 1}) EXPECT_TRUE(queue.Push(items[i].Get(), dropped.Out()));
  EXPECT_TRUE(RkWait(queue.Semaphore(), 0));  // a consumer that has yet to take its item
  EXPECT_TRUE(queue.Push(items[2].Get(), dropped.Out()));
  EXPECT_EQ(dropped.Get(), items[0].Get());
  EXPECT_TRUE(RkWait(queue.Semaphore(), 0));
  EXPECT_FALSE(RkWait(queue.Semaphore(), 0));
  for (int i : {1, 2}) EXPECT_EQ(queue.PopCounted().Get(), items[i].Get());
  EXPECT_FALSE(queue.PopCounted());
  EXPECT_TRUE(queue.Push(items[0].Get(), dropped.Out()));
  queue.Flush();
  EXPECT_FALSE(RkWait(queue.Semaphore(), 0));
}

TEST(steady_position, keeps_pace_with_the_clock_for_a_while_and_loses_it_with_a_jump) {
  constexpr LONGLONG kMs = 1'000'000;
  CRkSteadyPosition position;
  const auto note = [&](double positionMs, LONGLONG clockMs) {
    position.Note(positionMs, 77 + clockMs * kMs);
    return position.IsSteady();
  };
  for (int ms = 0; ms < 99; ms += 3) EXPECT_FALSE(note(ms + ms % 2, ms));
  EXPECT_TRUE(note(100, 100));
  EXPECT_TRUE(note(3598.5, 3600));
  EXPECT_FALSE(note(3600, 3603));
  EXPECT_FALSE(note(3690, 3693));
  EXPECT_TRUE(note(3700, 3703));
  for (int ms = 0; ms < 1000; ++ms) EXPECT_FALSE(ms > 3 && note(3700, 3703 + ms));
}

}  // namespace
