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
// Threads: any may enter; the source channel has one producer, one consumer and one control thread.
// The lock guards every field and is never held across a wait. A thread that has to wait registers under
// the lock and then waits for a unit of its semaphore, which whoever makes room or queues a sample
// releases; an operation that need not wait touches nothing but the lock.
// The cache owns one reference to each queued sample. Memory for entries grows with what is queued.
class CRkClipSampleCache : public CRkUnknown<IRkUnknown> {
 public:
  explicit CRkClipSampleCache(UINT capacity);

  // False when the cache cannot work: a capacity of 0 or above 0x7FFFFFFF, or no memory or handles.
  bool IsValid() const RK_NO_THREAD_SAFETY_ANALYSIS;

  UINT Capacity() const { return m_capacity; }

  // Blocks while the cache is full. FALSE for a null sample, or when abortEvent (may be null) was
  // signalled first; free space wins over a signalled abortEvent.
  virtual BOOL PutSample(IRkAVPlaySample* sample, LONG tag, HANDLE abortEvent);
  // Waits up to timeoutMs; the sample's reference belongs to the caller. FALSE, with a null sample and
  // the tag untouched, when none came.
  virtual BOOL GetSample(UINT timeoutMs, IRkAVPlaySample** sample, LONG* tag);
  // Releases every queued sample and forgets the awaited count and an interruption. Always TRUE.
  virtual BOOL Flush();
  // TRUE when a put made during the call found the queue, itself included, at or above count.
  virtual BOOL WaitForCount(UINT timeoutMs, LONG count);

  // For the producer of a paced consumer: when the cache is full, blocks until `places` (1 to the capacity)
  // are free, abortEvent (may be null) is signalled or HurryRefill is called. One wake then serves several
  // puts. At most one thread waits here.
  void WaitForRoom(UINT places, HANDLE abortEvent);
  // Ends the WaitForRoom that waits, or else the next one.
  void HurryRefill();

  // Adds bits to the tag of the sample queued last. FALSE when it has been taken.
  BOOL MarkNewest(LONG bits);
  // The GetSample that waits, or else the next one, returns FALSE without taking a sample.
  void Interrupt();

 private:
  struct SEntry {
    IRkAVPlaySample* sample;  // with the cache's reference
    LONG tag;
  };
  // The threads that wait for one kind of change.
  struct SWaiters {
    UINT count = 0;        // registered and not yet woken
    const CRkHandle wake;  // semaphore: one unit for each thread that has been woken
  };
  enum class ETake { Taken, Interrupted, Empty };

  ~CRkClipSampleCache() override;

  bool _TryPut(IRkAVPlaySample& sample, LONG tag);
  ETake _TryGet(bool registers, IRkAVPlaySample** sample, LONG* tag);
  bool _HasRoom() RK_REQUIRES(m_lock);
  bool _Grow() RK_REQUIRES(m_lock);
  CRkRef<IRkAVPlaySample> _RemoveOldest(LONG* tag) RK_REQUIRES(m_lock);
  void _ReleaseQueue() RK_REQUIRES(m_lock);
  void _TellRoom() RK_REQUIRES(m_lock);
  void _Wake(SWaiters& waiters) RK_REQUIRES(m_lock);
  void _StopWaiting(SWaiters& waiters) RK_EXCLUDES(m_lock);

  const UINT m_capacity;
  const CRkHandle m_countReached;  // manual reset

  CRkCriticalSection m_lock;
  std::unique_ptr<SEntry[]> m_entries RK_GUARDED_BY(m_lock);  // a ring of m_slots entries
  UINT m_slots RK_GUARDED_BY(m_lock);                         // at most the capacity
  UINT m_oldest RK_GUARDED_BY(m_lock) = 0;
  UINT m_count RK_GUARDED_BY(m_lock) = 0;
  LONG m_awaitedCount RK_GUARDED_BY(m_lock);
  UINT m_awaitedRoom RK_GUARDED_BY(m_lock) = 1;
  bool m_isInterrupted RK_GUARDED_BY(m_lock) = false;
  bool m_isHurried RK_GUARDED_BY(m_lock) = false;
  SWaiters m_producers;  // their counts are guarded by the lock
  SWaiters m_refillers;
  SWaiters m_consumers;
};
