#include <dlfcn.h>

#include <filesystem>
#include <new>

#include "platform/CRkHandle.h"
#include "tests/source_channel/SourceChannelTest.h"

namespace {

// Counts down the test thread's creations of memory and system objects; the one at 0 fails.
thread_local int t_creationsLeft = -1;

bool CreationFails() {
  return t_creationsLeft >= 0 && t_creationsLeft-- == 0;
}

// The function that this program stands in front of.
template <class Function>
Function* Next(Function*, const char* mangledName) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangledName));
}

}  // namespace

#define RK_IN_FRONT __attribute__((visibility("default")))

RK_IN_FRONT HANDLE CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL set, PCWSTR name) {
  static const auto next = Next(&CreateEventW, "_Z12CreateEventWP19SECURITY_ATTRIBUTESiiPKw");
  return CreationFails() ? nullptr : next(attributes, manualReset, set, name);
}

RK_IN_FRONT HANDLE CreateSemaphoreW(SECURITY_ATTRIBUTES* attributes, LONG count, LONG maximum, PCWSTR name) {
  static const auto next = Next(&CreateSemaphoreW, "_Z16CreateSemaphoreWP19SECURITY_ATTRIBUTESiiPKw");
  return CreationFails() ? nullptr : next(attributes, count, maximum, name);
}

// To the throwing forms, so that each allocation has the delete of its kind.
RK_IN_FRONT void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return CreationFails() ? nullptr : operator new(size);
}

RK_IN_FRONT void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return CreationFails() ? nullptr : operator new[](size);
}

namespace {

class CreationFailureTest : public testing::Test {
 protected:
  // What a creation that fails must neither leave behind nor touch.
  void ExpectFailure(UINT cacheCapacity, int creations) {
    IRkClipSourceChannel* const untouched = reinterpret_cast<IRkClipSourceChannel*>(this);
    IRkClipSourceChannel* out = untouched;
    t_creationsLeft = creations;
    const int result =
        RkCreateClipSourceChannel(1, cacheCapacity, kTestVideo, kTestAudio, m_pool.Get(), &out);
    m_reached = t_creationsLeft == -1 && creations >= 0;
    t_creationsLeft = -1;
    if (result == 1) {
      out->Release();
      ASSERT_FALSE(m_reached) << "a failure at creation " << creations << " went unnoticed";
    } else {
      EXPECT_EQ(out, untouched);
      EXPECT_TRUE(m_reached || creations < 0);
    }
    EXPECT_EQ(result, m_reached || creations < 0 ? 0 : 1);
    EXPECT_TRUE(WaitUntil([&] { return Threads() == m_threads; }));
    EXPECT_EQ(References(*m_pool), 1u);
  }

  // Sanitizers begin a thread of their own beside a program's first.
  static long ThreadsAtRest() {
    std::thread([] {}).join();
    return Threads();
  }

  static long Threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
  }

  const CRkRef<CFakePool> m_pool = MakeFake<CFakePool>();
  const long m_threads = ThreadsAtRest();
  bool m_reached = false;
};

TEST_F(CreationFailureTest, a_failure_at_any_point_of_the_creation_leaves_nothing_behind) {
  int points = 0;
  do {
    ASSERT_NO_FATAL_FAILURE(ExpectFailure(5, points++));
  } while (m_reached);
  // The channel, its cache, the cache's memory, two semaphores and an event, the list, the thread with
  // its events, and the acknowledge event.
  EXPECT_GT(points, 9);
}

TEST_F(CreationFailureTest, a_capacity_that_no_cache_can_have_is_refused) {
  ExpectFailure(0, -1);
  ExpectFailure(0x80000000u, -1);
  ExpectFailure(0xFFFFFFFFu, -1);
}

TEST_F(CreationFailureTest, the_last_release_stops_a_playing_channel) {
  CRkRef<IRkClipSourceChannel> channel;
  ASSERT_EQ(RkCreateClipSourceChannel(1, 2, kTestVideo, kTestAudio, m_pool.Get(), channel.Out()), 1);
  const auto element = MakeFake<CFakeElement>(5);
  ASSERT_TRUE(channel->InsertElement(0, element.Get()));
  ASSERT_TRUE(channel->Play(0, -1));
  EXPECT_EQ(channel->AddRef(), 2u);
  EXPECT_EQ(channel->Release(), 1u);
  EXPECT_GT(Threads(), m_threads);
  EXPECT_EQ(channel.Detach()->Release(), 0u);
  EXPECT_TRUE(WaitUntil([&] { return Threads() == m_threads; }));
  EXPECT_EQ(element->opens, element->closes);
  EXPECT_EQ(References(*element), 1u);
  EXPECT_EQ(References(*m_pool), 1u);
}

}  // namespace
