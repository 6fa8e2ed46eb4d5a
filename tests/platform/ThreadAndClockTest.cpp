#include <algorithm>
#include <string>
#include <thread>

#include <sched.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "platform/CRkCriticalSection.h"

namespace {

// On a thread that has its priority and its name for itself.
template <class Work>
void OnOwnThread(Work work) {
  std::thread(work).join();
}

int Nice() {
  return getpriority(PRIO_PROCESS, GetCurrentThreadId());
}

TEST(CriticalSection, is_left_as_often_as_it_was_entered) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  const auto freeForOthers = [&section] {
    BOOL entered = FALSE;
    OnOwnThread([&] {
      entered = TryEnterCriticalSection(&section);
      if (entered) LeaveCriticalSection(&section);
    });
    return entered != FALSE;
  };
  EnterCriticalSection(&section);
  EXPECT_TRUE(TryEnterCriticalSection(&section));
  EXPECT_FALSE(freeForOthers());
  LeaveCriticalSection(&section);
  EXPECT_FALSE(freeForOthers());
  LeaveCriticalSection(&section);
  EXPECT_TRUE(freeForOthers());
  DeleteCriticalSection(&section);
}

TEST(Thread, priority_is_raised_as_far_as_allowed_and_given_back) {
  OnOwnThread([] {
    const int before = Nice();
    if (SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL)) {
      EXPECT_TRUE((sched_getscheduler(0) & ~SCHED_RESET_ON_FORK) == SCHED_RR || Nice() < before);
      OnOwnThread([before] {
        EXPECT_EQ(sched_getscheduler(0) & ~SCHED_RESET_ON_FORK, SCHED_OTHER);
        EXPECT_GE(Nice(), std::min(before, 0));  // below a raised one it is given back as 0
      });
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
  });
}

TEST(Thread, name_is_cut_between_characters) {
  OnOwnThread([] {
    const auto named = [](PCWSTR name) {
      EXPECT_GE(SetThreadDescription(GetCurrentThread(), name), 0);
      char kept[16] = {};
      pthread_getname_np(pthread_self(), kept, sizeof(kept));
      return std::string(kept);
    };
    EXPECT_EQ(named(L"CRkClipOutputChannel"), "CRkClipOutputCh");
    EXPECT_EQ(named(L"\u00FC\u20AC\U0001F3AC"), "\xC3\xBC\xE2\x82\xAC\xF0\x9F\x8E\xAC");
    EXPECT_EQ(named(L"thirteen char\u20AC"), "thirteen char");
    EXPECT_EQ(named(L"fourteen chars\u00FCx"), "fourteen chars");
  });
}

}  // namespace
