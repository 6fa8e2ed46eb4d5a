// Thousands of changes from list to list, and every frame accounted for.
//   RK_MODEL_CHANGES=10000   so many of them instead of 1,000
//   RK_MODEL_PACED=1         workers wait their millisecond before each frame, as they do on air

#include <algorithm>

#include "tests/model/Actor.h"
#include "tests/model/ModelList.h"
#include "tests/output_channel/OutputChannelTest.h"
#ifdef _WIN32
#include <psapi.h>
#else
#include <unistd.h>

#include <fstream>
#endif

namespace {

using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double ResidentBytes() {
#ifdef _WIN32
  PROCESS_MEMORY_COUNTERS counters = {};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
  return static_cast<double>(counters.WorkingSetSize);
#else
  double pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
#endif
}

// Growth of the resident memory: the slope of the least-squares line through its samples.
class CMemoryTrend {
 public:
  void Note(double change) {
    const double bytes = ResidentBytes();
    ++m_count;
    m_sumX += change;
    m_sumY += bytes;
    m_sumXX += change * change;
    m_sumXY += change * bytes;
  }
  double BytesPerChange() const {
    return (m_count * m_sumXY - m_sumX * m_sumY) / (m_count * m_sumXX - m_sumX * m_sumX);
  }

 private:
  double m_count = 0, m_sumX = 0, m_sumY = 0, m_sumXX = 0, m_sumXY = 0;
};

// Sanitizers keep freed memory for a while.
#if defined(__has_feature)
#define RK_HAS_FEATURE(name) __has_feature(name)
#else
#define RK_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || RK_HAS_FEATURE(address_sanitizer) || \
    RK_HAS_FEATURE(thread_sanitizer)
constexpr bool kMemoryIsPlain = false;
#else
constexpr bool kMemoryIsPlain = true;
#endif

// A host with one thread that delivers, one that cues the next list and one that requests switches.
class Endurance : public OutputChannelTest {
 protected:
  void SetUp() override {
    OutputChannelTest::SetUp();
    if (Setting("RK_MODEL_PACED", 0) != 0) return;
    m_waits.frameMs = 0;
    m_waits.preRollMs = 1;  // a cache that is full before the wait begins has no more to wait for
  }
  void TearDown() override {
    m_onAir = m_cued = {};
    OutputChannelTest::TearDown();
  }

  void Start() {
    m_cued = m_random.MakeList(5, 50, 0);
    ASSERT_TRUE(CueAll(m_cued.elements, m_cued.repeatCount, m_cued.start));
    ASSERT_TRUE(m_channel->Play());
    EXPECT_EQ(m_notify->Take(), (Events{"loading", "free", "started"}));
    GoOn();
  }

  // Plays the list on air to its end, or up to a frame where it is taken off, while the next is cued.
  void Change() {
    m_cued = m_random.MakeList(5, 50, 0);
    auto cued = m_editor.Begin([this] { return CueAll(m_cued.elements, m_cued.repeatCount, m_cued.start); });
    const UINT passes = static_cast<UINT>(std::max(m_onAir.repeatCount, 1));
    const UINT frames = passes * m_onAir.total - m_onAir.start;
    const UINT how = m_random.Below(3);
    const UINT taken = how == kAtEnd ? frames : m_random.Below(frames);
    for (UINT i = 0; i < taken; ++i) {
      if (i + 1 == taken) cued.wait();
      ExpectNextFrame();
      if (i + 1 < taken) {
        ASSERT_EQ(Switch(), RkSwitchStatus_Playing);
      }
    }
    ASSERT_TRUE(cued.get());
    if (how == kByTake) {
      auto answer = RequestSwitch();
      ASSERT_EQ(Switch(), RkSwitchStatus_Switched);
      EXPECT_EQ(answer.get(), static_cast<int>(m_position));
    } else if (how == kAtEnd) {
      ASSERT_EQ(Switch(), RkSwitchStatus_Switched);
    } else {
      ASSERT_TRUE(m_channel->SwitchChannelAtOnce());
    }
    EXPECT_EQ(m_notify->Take(), (Events{"loading", "free"}));
    GoOn();
  }

  void StopAndStart() {
    const auto begin = Clock::now();
    EXPECT_TRUE(m_channel->Stop());
    m_worstStopMs = std::max(m_worstStopMs, MsSince(begin));
    EXPECT_EQ(m_notify->Take(), (Events{"free", "ended"}));
    Start();
  }

  double m_worstStopMs = 0;
  double m_worstFirstMs = 0;  // the wait for the first frame after a change
  UINT m_frames = 0;

 private:
  enum : UINT { kAtEnd, kByTake, kAtOnce };

  void GoOn() {
    m_onAir = std::move(m_cued);
    m_next = m_onAir.First();
    m_position = m_onAir.start;
    m_first = true;
  }

  void ExpectNextFrame() {
    const auto begin = Clock::now();
    CRkRef<IRkAVPlaySample> sample;
    ASSERT_TRUE(m_channel->GetSample(kTestDeadlineMs, sample.Out()));
    if (std::exchange(m_first, false)) m_worstFirstMs = std::max(m_worstFirstMs, MsSince(begin));
    ASSERT_EQ(CModelElement::FrameOf(*sample), m_onAir.frames[m_next]);
    m_position = sample->GetPosition();
    m_next = (m_next + 1) % m_onAir.frames.size();
    ++m_frames;
  }

  CModelRandom m_random{Setting("RK_MODEL_SEED", 1)};
  SModelList m_onAir = {}, m_cued = {};
  size_t m_next = 0;  // of m_onAir's frames
  UINT m_position = 0;
  bool m_first = false;
  CActor m_editor;
};

TEST_F(Endurance, no_frame_is_lost_or_comes_twice_over_thousands_of_changes) {
  constexpr UINT kBetweenStops = 100;
  constexpr double kMostBytesPerChange = 64;  // less than any object of ours; a run moves by a few pages
  const UINT changes = Setting("RK_MODEL_CHANGES", 1000);
  CMemoryTrend memory;
  Start();
  for (UINT change = 1; change <= changes && !HasFatalFailure(); ++change) {
    Change();
    if (change % kBetweenStops == 0) StopAndStart();
    if (change % 20 == 0 && change > changes / 4) memory.Note(change);
  }
  std::printf("%u changes, %u frames: worst Stop %.3f ms, worst first frame %.3f ms, %+.2f bytes a change\n",
              changes, m_frames, m_worstStopMs, m_worstFirstMs, memory.BytesPerChange());
  if (kMemoryIsPlain) {
    EXPECT_LT(memory.BytesPerChange(), kMostBytesPerChange);
  }
}

}  // namespace
