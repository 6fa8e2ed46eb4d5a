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

TEST_F(video_presenter, drops_late_frames_but_shows_the_newest_when_nothing_newer_is_there) {
  Queue({7, 8, 9});
  EXPECT_EQ(Pass(10), Events{"v9"});
  Queue({9, 11});
  EXPECT_EQ(Pass(11), Events{"v11"});
}

TEST_F(video_presenter, shows_an_early_frame_again_at_every_pass_until_its_turn_has_come) {
  Queue({12, 13});
  EXPECT_EQ(Pass(10), Events{"v12"});
  EXPECT_EQ(Pass(11), Events{"v12"});
  EXPECT_EQ(Pass(12), Events{"v12"});
  EXPECT_EQ(Pass(13), Events{"v13"});
}

TEST_F(video_presenter, the_marker_blanks_the_picture_whatever_is_due) {
  Queue({7, 8});
  Push(m_queue, m_marker.Get());
  Queue({20});
  EXPECT_EQ(Pass(10), Events{"blank"});
  EXPECT_EQ(m_queue.Count(), 1);
  EXPECT_EQ(m_marker->AddRef(), 2U);  // the queue's reference has gone
  m_marker->Release();
  EXPECT_EQ(Pass(10), Events{"v20"});
}

TEST_F(video_presenter, a_stop_goes_through_to_the_last_frame_and_ends_with_an_empty_queue) {
  const CRkHandle exitEvent = CRkHandle::ManualResetEvent();
  const CRkHandle stopEvent = CRkHandle::ManualResetEvent();
  const CRkHandle doneEvent = CRkHandle::ManualResetEvent();
  m_shown.AdvanceTo(25);
  Queue({20, 21, 22, 23, 24, 25});
  SetEvent(stopEvent);
  m_presenter.Run(exitEvent, stopEvent, doneEvent);
  EXPECT_EQ(m_sink->Take(), Events{"v25"});
  EXPECT_TRUE(RkWait(doneEvent, 0));

  ResetEvent(doneEvent);
  Queue({26});
  SetEvent(exitEvent);
  m_presenter.Run(exitEvent, stopEvent, doneEvent);
  EXPECT_FALSE(RkWait(doneEvent, 0));
  m_presenter.Run(exitEvent, nullptr, doneEvent);  // the events are gone: ends as well
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
