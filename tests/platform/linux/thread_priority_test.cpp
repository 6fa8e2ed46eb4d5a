#include <algorithm>
#include <thread>

#include <sched.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "platform/RkPlatform.h"

namespace {

int Nice() {
  return getpriority(PRIO_PROCESS, GetCurrentThreadId());
}

// Each part runs on a new thread, which has its own priority.
TEST(thread, priority_is_raised_as_far_as_allowed_and_given_back) {
  std::thread([] {
    const int before = Nice();
    if (SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL)) {
      EXPECT_TRUE((sched_getscheduler(0) & ~SCHED_RESET_ON_FORK) == SCHED_RR || Nice() < before);
      std::thread([before] {
        EXPECT_EQ(sched_getscheduler(0) & ~SCHED_RESET_ON_FORK, SCHED_OTHER);
        EXPECT_GE(Nice(), std::min(before, 0));  // below a raised one it is given back as 0
      }).join();
    } else {
      EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);
    }
    if (SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_HIGHEST)) {
      EXPECT_LT(Nice(), before);
    }
    EXPECT_EQ(sched_getscheduler(0) & ~SCHED_RESET_ON_FORK, SCHED_OTHER);
    if (SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_NORMAL)) {
      EXPECT_EQ(Nice(), 0);
    }
  }).join();
}

}  // namespace
