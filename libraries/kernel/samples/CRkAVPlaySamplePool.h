#pragma once

#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "base/CRkPoolElement.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "libraries/kernel/samples/CRkAVPlaySample.h"
#include "libraries/kernel/samples/CRkVideoSample.h"

// The owner of a pool's samples. The pool and every sample that is out hold it, so it lives until the last
// of them is back.
//
// Any thread may enter. The semaphore counts the samples that may still be handed out; the lock guards the
// idle ones and is a leaf.
class CRkSamplePoolCore final : public CRkUnknown<IRkPoolElementOwner> {
 public:
  explicit CRkSamplePoolCore(UINT count);

  // False when the pool cannot work: a count of 0, or no memory or semaphore for it.
  bool Create();

  // Null when none came free in time, or there is no memory for a new one.
  CRkVideoSample* TakeVideo(DWORD timeoutMs) { return _Take(m_idleVideo, timeoutMs); }
  CRkAVPlaySample* TakePlaySample(DWORD timeoutMs) { return _Take(m_idlePlaySamples, timeoutMs); }

  void GiveBack(IRkPoolElement* element) override;
  void GiveBackPlaySample(IRkAVPlaySample* sample) override;

 private:
  ~CRkSamplePoolCore() override;

  template <class Sample>
  Sample* _Take(std::vector<Sample*>& idle, DWORD timeoutMs) RK_EXCLUDES(m_lock);
  template <class Sample>
  void _TakeBack(std::vector<Sample*>& idle, Sample* sample) RK_EXCLUDES(m_lock);

  const UINT m_count;
  CRkHandle m_free;
  CRkCriticalSection m_lock;
  std::vector<CRkVideoSample*> m_idleVideo;         // guarded by m_lock
  std::vector<CRkAVPlaySample*> m_idlePlaySamples;  // guarded by m_lock
};

// Hands out the core's samples.
class CRkAVPlaySamplePool final : public CRkUnknown<IRkAVPlaySamplePool> {
 public:
  explicit CRkAVPlaySamplePool(CRkRef<CRkSamplePoolCore> core) : m_core(std::move(core)) {}

  void GetVideoSample(DWORD timeoutMs, IRkVideoSample** video) override {
    *video = m_core->TakeVideo(timeoutMs);
  }
  void GetAVPlaySample(DWORD timeoutMs, IRkAVPlaySample** sample) override {
    *sample = m_core->TakePlaySample(timeoutMs);
  }

 private:
  const CRkRef<CRkSamplePoolCore> m_core;
};
