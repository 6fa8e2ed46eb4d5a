#include <gtest/gtest.h>

#include "output_device/CRkVideoPresenter.h"
#include "tests/output_device/DeviceFakes.h"

namespace {

using Events = std::vector<std::string>;

class video_presenter : public testing::Test {
 protected:
  video_presenter() {
    EXPECT_TRUE(m_queue.Create(16) && m_shown.Create());
    m_callback.Set(m_sink);
    for (int i = 0; i < 1000; ++i) m_shown.CountSubmitted();
  }
  void Queue(std::initializer_list<UINT> frames) {
    for (const UINT frame : frames) Push(m_queue, MakeVideo(frame).Get());
  }
  Events Pass(UINT due) {
    m_shown.AdvanceTo(due);
    m_presenter.FramePass();
    return m_sink->Take();
  }

  CRkRef<CFakeDeviceCallback> m_sink = MakeFake<CFakeDeviceCallback>();
  CRkLockedRef<IRkSoftwareOutputCallback> m_callback;
  CRkSampleQueue m_queue;
  CRkShownFrame m_shown;
  CRkRef<IRkVideoSample> m_marker = MakeVideo(0);
  CRkVideoPresenter m_presenter{m_queue, m_shown, m_callback, m_marker.Get()};
};

TEST_F(video_presenter, drops_late_frames_but_the_newest_and_repeats_an_early_one_until_its_turn) {
  Queue({7, 8, 9});
  EXPECT_EQ(Pass(10), Events{"v9"});
  Queue({9, 13, 14});
  for (const UINT due : {11u, 12u, 13u}) EXPECT_EQ(Pass(due), Events{"v13"});
  EXPECT_EQ(Pass(14), Events{"v14"});
}

TEST_F(video_presenter, ends_when_the_events_are_gone) {
  const SPacingEvents events;
  m_presenter.Run(events.exit, nullptr, events.videoDone);
}

TEST_F(video_presenter, a_stop_repeats_an_early_frame_at_most_once_a_millisecond_and_ends_with_the_last) {
  const SPacingEvents events;
  Queue({5, 6});
  SetEvent(events.stop);
  const ULONGLONG begin = GetTickCount64();
  std::thread presenter([&] { m_presenter.Run(events.exit, events.stop, events.videoDone); });
  size_t shown = 0;
  while (shown < 20) {
    shown += m_sink->Take().size();
    std::this_thread::yield();
  }
  EXPECT_GE(GetTickCount64() + 2 - begin, shown);  // two for the granularity of the clock
  m_shown.AdvanceTo(6);
  presenter.join();
  EXPECT_EQ(m_sink->Take().back(), "v6");
  EXPECT_EQ(m_queue.Count(), 0);
  EXPECT_TRUE(RkWait(events.videoDone, 0));
}

TEST(shown_frame, follows_the_clock_and_is_anchored_again_when_the_clock_outruns_the_frames) {
  CRkShownFrame shown;
  ASSERT_TRUE(shown.Create());
  shown.BeginPlay();
  for (int i = 0; i < 40; ++i) shown.CountSubmitted();
  EXPECT_EQ(shown.Get(), kRkNoPosition);
  shown.AdvanceTo(30);
  EXPECT_EQ(shown.Get(), 30U);
  shown.AdvanceTo(50);
  EXPECT_EQ(shown.Get(), 39U);
  EXPECT_TRUE(shown.IsLast());
  shown.CountSubmitted();
  shown.AdvanceTo(51);
  EXPECT_EQ(shown.Get(), 40U);
  for (int i = 0; i < 10; ++i) shown.CountSubmitted();
  shown.AdvanceTo(53);
  EXPECT_EQ(shown.Get(), 42U);
  shown.AdvanceToLast();
  // The newest stays due, however far the clock has run, beyond 32 bits too.
  for (UINT clock = 0xFFFFFFF0u; clock != 5; ++clock) {
    shown.AdvanceTo(clock);
    EXPECT_EQ(shown.Get(), 50U);
  }
  shown.CountSubmitted();
  shown.AdvanceTo(5);
  EXPECT_EQ(shown.Get(), 51U);
}

}  // namespace
