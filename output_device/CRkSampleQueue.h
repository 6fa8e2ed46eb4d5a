#pragma once

#include <memory>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "contracts/RkKernel.h"

// A bounded first-in, first-out queue that makes room by dropping its oldest item. It holds one reference
// to each item.
//
// Threads: one producer, one consumer, and a control thread that flushes. The lock guards the ring and is a
// leaf; the consumer waits for the semaphore, which counts the items, without it.
class CRkSampleQueue {
 public:
  CRkSampleQueue() = default;
  ~CRkSampleQueue();
  CRkSampleQueue(const CRkSampleQueue&) = delete;
  CRkSampleQueue& operator=(const CRkSampleQueue&) = delete;

  // Once, before any other operation; capacity at least 1. FALSE without memory or a semaphore.
  BOOL Create(int capacity);

  // FALSE for null. `dropped` receives the oldest item of a full queue, with the queue's reference; the
  // count of items, and the semaphore with it, then stays.
  BOOL Push(IRkUnknown* item, IRkUnknown** dropped);
  // The oldest item; null when none came within the time.
  CRkRef<IRkUnknown> Pop(DWORD timeoutMs);
  // The same for a consumer that has waited for the semaphore itself, among other objects.
  CRkRef<IRkUnknown> PopCounted();
  HANDLE Semaphore() const { return m_items; }
  void Flush();
  int Count();

 private:
  CRkRef<IRkUnknown> _TakeOldest() RK_REQUIRES(m_lock);

  size_t m_capacity = 0;
  CRkHandle m_items;
  CRkCriticalSection m_lock;
  // Each item has the queue's reference.
  std::unique_ptr<IRkUnknown*[]> m_ring RK_GUARDED_BY(m_lock);
  size_t m_oldest RK_GUARDED_BY(m_lock) = 0;
  size_t m_count RK_GUARDED_BY(m_lock) = 0;
};
