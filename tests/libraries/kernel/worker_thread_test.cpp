#include <gtest/gtest.h>

#include <atomic>

#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "contracts/RkKernel.h"
#ifndef _WIN32
#include <sched.h>
#include <sys/resource.h>
#endif

namespace {

constexpr DWORD kGenerousMs = 60000;

// A routine that runs until it is stopped, or until the gate opens if it does not listen.
struct SRoutine {
  CRkHandle entered = CRkHandle::Semaphore(0, 1000000);
  CRkHandle left = CRkHandle::Semaphore(0, 1000000);
  CRkHandle gate = CRkHandle::ManualResetEvent();
  std::atomic<int> runs{0};
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  std::atomic<bool> listens{true};
  std::atomic<bool> stopAtBegin{false};
  std::atomic<bool> stopAtEnd{false};

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

TEST(WorkerThread, each_start_runs_once_and_no_stop_is_lost_or_left_over) {
  SRoutine routine;
  const auto thread = MakeThread(&SRoutine::Run, &routine);
  thread->WaitForStop(INFINITE);
  for (int run = 1; run <= 400; ++run) {
    const bool enteredFirst = run % 2 == 0;
    thread->Start();
    ASSERT_FALSE(thread->IsIdle());
    ASSERT_TRUE(!enteredFirst || RkWait(routine.entered, kGenerousMs));
    thread->RequestStop();
    thread->WaitForStop(kGenerousMs);
    ASSERT_TRUE(thread->IsIdle());
    ASSERT_EQ(routine.runs, run);
    ASSERT_FALSE(enteredFirst && routine.stopAtBegin);
    ASSERT_TRUE(enteredFirst || RkWait(routine.entered, 0));
  }
}

TEST(WorkerThread, start_during_a_run_ends_it_and_runs_again_and_a_stop_takes_that_back) {
  SRoutine routine;
  const auto thread = MakeThread(&SRoutine::Run, &routine);
  thread->Start();
  ASSERT_TRUE(RkWait(routine.entered, kGenerousMs));
  routine.listens = false;
  thread->Start();
  ASSERT_TRUE(RkWait(routine.entered, kGenerousMs));
  EXPECT_FALSE(routine.stopAtBegin);

  thread->Start();
  thread->RequestStop();
  EXPECT_FALSE(thread->IsIdle());
  SetEvent(routine.gate);
  thread->WaitForStop(kGenerousMs);
  EXPECT_TRUE(thread->IsIdle());
  EXPECT_EQ(routine.runs, 2);
  EXPECT_FALSE(routine.overlapped);
}

TEST(WorkerThread, a_routine_that_outlives_close_keeps_its_stop_event) {
  SRoutine routine;
  routine.listens = false;
  auto thread = MakeThread(&SRoutine::Run, &routine);
  thread->Start();
  ASSERT_TRUE(RkWait(routine.entered, kGenerousMs));
  thread->Close(1);
  thread.Reset();
  SetEvent(routine.gate);
  ASSERT_TRUE(RkWait(routine.left, kGenerousMs));
  EXPECT_TRUE(routine.stopAtEnd);
}

TEST(WorkerThread, a_worker_neither_waits_for_itself_nor_joins_itself) {
  struct SSelf {
    CRkRef<IRkWorkerThread> thread;
    CRkHandle left = CRkHandle::ManualResetEvent();

    static UINT Run(void* context, HANDLE) {
      auto& self = *static_cast<SSelf*>(context);
      self.thread->WaitForStop(INFINITE);
      self.thread->Close(INFINITE);
      self.thread.Reset();
      SetEvent(self.left);
      return 0;
    }
  } self;
  const auto thread = MakeThread(&SSelf::Run, &self);
  self.thread = thread;
  thread->Start();
  EXPECT_TRUE(RkWait(self.left, kGenerousMs));
}

TEST(WorkerThread, bulk_work_is_never_raised) {
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
  thread->WaitForStop(kGenerousMs);
  EXPECT_FALSE(raised);
}

}  // namespace
