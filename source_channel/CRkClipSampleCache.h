#pragma once

#include <memory>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"

// The bounded first-in, first-out store between a source channel's worker, which puts samples, and its
// consumer, which takes them. Each sample travels with a tag. The blocking put is what throttles the
// worker, so the capacity bounds the memory decoded ahead.
//
// Threads: one producer, one consumer, and a control thread that flushes and waits for a count.
// Locks: the queue lock guards the queue and keeps it in step with the semaphores; the threshold lock
// guards the threshold. Order: queue lock, then threshold lock. No lock is held across a wait.
// The cache holds one reference to each queued sample.
class CRkClipSampleCache : public CRkUnknown<IRkUnknown> {
 public:
  explicit CRkClipSampleCache(UINT capacity);

  // False when the cache cannot work: a capacity of 0, or no memory or semaphores for it.
  bool IsValid() const;

  // Blocks while the cache is full. FALSE for a null sample, or when abortEvent (may be null) was
  // signalled first; free space wins over a signalled abortEvent.
  virtual BOOL PutSample(IRkAVPlaySample* sample, LONG tag, HANDLE abortEvent);
  // Waits up to timeoutMs; the sample's reference belongs to the caller. FALSE, with a null sample and
  // the tag untouched, when none came.
  virtual BOOL GetSample(UINT timeoutMs, IRkAVPlaySample** sample, LONG* tag);
  // Releases every queued sample and forgets a count that is waited for. Always TRUE.
  virtual BOOL Flush();
  // TRUE when a put made during the call found the queue, itself included, at or above count.
  virtual BOOL WaitForCount(UINT timeoutMs, LONG count);

 private:
  struct SEntry {
    IRkAVPlaySample* sample;  // with the cache's reference
    LONG tag;
  };
  static constexpr LONG kNoThreshold = -1;

  ~CRkClipSampleCache() override;

  void _Append(CRkRef<IRkAVPlaySample> sample, LONG tag) RK_REQUIRES(m_queueLock);
  CRkRef<IRkAVPlaySample> _RemoveOldest(LONG* tag) RK_REQUIRES(m_queueLock);
  void _ReleaseQueue() RK_REQUIRES(m_queueLock);
  void _SetThreshold(LONG count) RK_EXCLUDES(m_thresholdLock);

  const UINT m_capacity;
  CRkCriticalSection m_queueLock;
  const std::unique_ptr<SEntry[]> m_entries;  // a ring of m_capacity entries
  UINT m_oldest RK_GUARDED_BY(m_queueLock) = 0;
  UINT m_count RK_GUARDED_BY(m_queueLock) = 0;
  const CRkHandle m_freeSpace;      // one unit per sample that may still be put
  const CRkHandle m_queuedSamples;  // one unit per sample that may be taken
  CRkCriticalSection m_thresholdLock;
  LONG m_threshold RK_GUARDED_BY(m_thresholdLock) = kNoThreshold;
  const CRkHandle m_thresholdEvent;
};
