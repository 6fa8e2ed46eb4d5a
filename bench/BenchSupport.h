#pragma once

// What the benches share: an element that costs nothing, pinning, and the clocks they read.

#include <sched.h>
#include <time.h>

#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "module/RkClipPlay.h"

// Numbered samples that cost nothing to read.
class CInstantElement : public CRkUnknown<IRkClipElement> {
 public:
  explicit CInstantElement(UINT frames = 1000) : m_frames(frames) {}

  BOOL Open(IRkPlayBufferPool*, UINT, const SRkClipFormat*) override { return TRUE; }
  BOOL ReadNextSample(IRkAVPlaySample** sample) override { return ReadSampleAt(m_next, sample); }
  BOOL ReadSampleAt(UINT offset, IRkAVPlaySample** sample) override {
    if (offset >= m_frames || !RkCreateAVPlaySample(sample)) return FALSE;
    (*sample)->SetPosition(offset);
    m_next = offset + 1;
    return TRUE;
  }
  void SeekTo(UINT offset) override { m_next = offset; }
  UINT GetLastPosition() override { return m_frames - 1; }
  void Close() override {}
  UINT GetFrameCount() override { return m_frames; }
  void SetMode(UINT, BOOL*) override {}
  UINT GetMode() override { return 0; }
  void GetTrimInfo(IRkClipTrimInfo**) override {}
  void SetTrimInfo(IRkClipTrimInfo*) override {}

 private:
  const UINT m_frames;
  UINT m_next = 0;
};

// On one core or on all, with every thread that is started meanwhile.
class CAffinity {
 public:
  explicit CAffinity(bool pinned) {
    sched_getaffinity(0, sizeof(m_before), &m_before);
    if (!pinned) return;
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int core = 0; core < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++core) {
      if (CPU_ISSET(core, &m_before)) CPU_SET(core, &one);
    }
    sched_setaffinity(0, sizeof(one), &one);
  }
  ~CAffinity() { sched_setaffinity(0, sizeof(m_before), &m_before); }

 private:
  cpu_set_t m_before;
};

inline double ProcessSeconds() {
  timespec spent{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
  return static_cast<double>(spent.tv_sec) + 1e-9 * static_cast<double>(spent.tv_nsec);
}

// Nanoseconds of the monotonic clock.
inline long long MonotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1'000'000'000ll + now.tv_nsec;
}

inline void SleepUntil(long long moment) {
  const timespec due = {moment / 1'000'000'000, moment % 1'000'000'000};
  clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &due, nullptr);
}
