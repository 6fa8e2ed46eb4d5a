#include <gtest/gtest.h>

#include "base/CRkHandle.h"
#include "tests/support/RkFakes.h"
#ifndef _WIN32
#include <sched.h>
#include <sys/resource.h>
#endif

namespace {

// A routine that runs until it is stopped, or until the gate opens if it does not listen.
struct SRoutine {
  CRkHandle entered = CRkHandle::Semaphore(0, 1000000);
  CRkHandle left = CRkHandle::Semaphore(0, 1000000);
  CRkHandle gate = CRkHandle::ManualResetEvent();
  std::atomic<int> runs{0}, inside{0};
  std::atomic<bool> overlapped{false}, listens{true}, stopAtBegin{false}, stopAtEnd{false};

  static UINT Run(void* context, HANDLE stopEvent) {
    auto& self = *static_cast<SRoutine*>(context);
    if (++self.inside != 1) self.overlapped = true;
    self.stopAtBegin = RkWait(stopEvent, 0);
    ++self.runs;
    const HANDLE end = self.listens ? stopEvent : static_cast<HANDLE>(self.gate);
    ReleaseSemaphore(self.entered, 1, nullptr);
    RkWait(end, INFINITE);
    self.stopAtEnd = RkWait(stopEvent, 0);
    --self.inside;
    ReleaseSemaphore(self.left, 1, nullptr);
    return 0;
  }
};

CRkRef<IRkWorkerThread> MakeThread(RkThreadProc proc, void* context) {
  CRkRef<IRkWorkerThread> thread;
  EXPECT_EQ(RkCreateWorkerThread(THREAD_PRIORITY_TIME_CRITICAL, thread.Out()), 1);
  thread->SetOption(FALSE);
  thread->Create();
  thread->SetThreadProc(proc, context);
  return thread;
}

TEST(worker_thread, each_start_runs_once_and_no_stop_is_lost_or_left_over) {
  SRoutine routine;
  const auto thread = MakeThread(&SRoutine::Run, &routine);
  thread->WaitForStop(INFINITE);
  for (int run = 1; run <= 400; ++run) {
    const bool enteredFirst = run % 2 == 0;
    thread->Start();
    ASSERT_FALSE(thread->IsIdle());
    ASSERT_TRUE(!enteredFirst || RkWait(routine.entered, kTestDeadlineMs));
    thread->RequestStop();
    thread->WaitForStop(kTestDeadlineMs);
    ASSERT_TRUE(thread->IsIdle());
    ASSERT_EQ(routine.runs, run);
    ASSERT_FALSE(enteredFirst && routine.stopAtBegin);
    ASSERT_TRUE(enteredFirst || RkWait(routine.entered, 0));
  }
}

TEST(worker_thread, start_during_a_run_ends_it_and_runs_again_and_a_stop_takes_that_back) {
  SRoutine routine;
  const auto thread = MakeThread(&SRoutine::Run, &routine);
  thread->Start();
  ASSERT_TRUE(RkWait(routine.entered, kTestDeadlineMs));
  routine.listens = false;
  thread->Start();
  ASSERT_TRUE(RkWait(routine.entered, kTestDeadlineMs));
  EXPECT_FALSE(routine.stopAtBegin);

  thread->Start();
  thread->RequestStop();
  EXPECT_FALSE(thread->IsIdle());
  SetEvent(routine.gate);
  thread->WaitForStop(kTestDeadlineMs);
  EXPECT_TRUE(thread->IsIdle());
  EXPECT_EQ(routine.runs, 2);
  EXPECT_FALSE(routine.overlapped);
}

TEST(worker_thread, a_routine_that_outlives_close_keeps_its_stop_event) {
  SRoutine routine;
  routine.listens = false;
  auto thread = MakeThread(&SRoutine::Run, &routine);
  thread->Start();
  ASSERT_TRUE(RkWait(routine.entered, kTestDeadlineMs));
  thread->Close(1);
  thread.Reset();
  SetEvent(routine.gate);
  ASSERT_TRUE(RkWait(routine.left, kTestDeadlineMs));
  EXPECT_TRUE(routine.stopAtEnd);
}

TEST(worker_thread, a_worker_neither_waits_for_itself_nor_joins_itself) {
  struct SSelf {
    CRkRef<IRkWorkerThread> thread;
    CRkHandle left = CRkHandle::ManualResetEvent();
  } self;
  const auto wait = [](void* context, HANDLE) -> UINT {
    auto& self = *static_cast<SSelf*>(context);
    self.thread->WaitForStop(INFINITE);
    self.thread->Close(INFINITE);
    self.thread.Reset();
    SetEvent(self.left);
    return 0;
  };
  const auto thread = self.thread = MakeThread(wait, &self);
  thread->Start();
  EXPECT_TRUE(RkWait(self.left, kTestDeadlineMs));
}

TEST(worker_thread, bulk_work_is_never_raised) {
  bool raised = true;
  const auto look = [](void* context, HANDLE) -> UINT {
#ifdef _WIN32
    *static_cast<bool*>(context) = GetThreadPriority(GetCurrentThread()) > THREAD_PRIORITY_NORMAL;
#else
    *static_cast<bool*>(context) = (sched_getscheduler(0) & ~SCHED_RESET_ON_FORK) != SCHED_OTHER ||
                                   getpriority(PRIO_PROCESS, GetCurrentThreadId()) < 0;
#endif
    return 0;
  };
  const auto thread = MakeThread(look, &raised);
  thread->Start();
  thread->WaitForStop(kTestDeadlineMs);
  EXPECT_FALSE(raised);
}

}  // namespace
