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

TEST(CriticalSectionDeathTest, leaving_what_another_thread_holds_is_fatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  EXPECT_DEATH(LeaveCriticalSection(&section), "LeaveCriticalSection");
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

TEST(Thread, only_known_priorities_of_the_calling_thread_are_set) {
  EXPECT_FALSE(SetThreadPriority(GetCurrentThread(), 99));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(SetThreadPriority(nullptr, THREAD_PRIORITY_NORMAL));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_LT(SetThreadDescription(nullptr, L"name"), 0);
  EXPECT_LT(SetThreadDescription(GetCurrentThread(), nullptr), 0);
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

TEST(ExecutionState, returns_what_the_thread_asked_for_before) {
  OnOwnThread([] {
    constexpr DWORD kAwake = ES_CONTINUOUS | ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED;
    EXPECT_EQ(SetThreadExecutionState(kAwake), ES_CONTINUOUS);
    EXPECT_EQ(SetThreadExecutionState(ES_SYSTEM_REQUIRED), kAwake);
    EXPECT_EQ(SetThreadExecutionState(0x40000000), 0U);
    EXPECT_EQ(SetThreadExecutionState(ES_CONTINUOUS), kAwake);
    EXPECT_EQ(SetThreadExecutionState(ES_CONTINUOUS), ES_CONTINUOUS);
  });
}

}  // namespace
