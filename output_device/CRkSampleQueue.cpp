#include "output_device/CRkSampleQueue.h"

#include <new>

CRkSampleQueue::~CRkSampleQueue() {
  Flush();
}

BOOL CRkSampleQueue::Create(int capacity) {
  CRkScopedLock lock(m_lock);
  m_capacity = static_cast<size_t>(capacity);
  m_ring.reset(new (std::nothrow) IRkUnknown*[m_capacity]);
  m_items = CRkHandle::Semaphore(0, capacity);
  return m_ring && m_items ? TRUE : FALSE;
}

BOOL CRkSampleQueue::Push(IRkUnknown* item, IRkUnknown** dropped) {
  if (item == nullptr) return FALSE;
  CRkScopedLock lock(m_lock);
  const bool isFull = m_count == m_capacity;
  if (isFull) *dropped = _TakeOldest().Detach();
  m_ring[(m_oldest + m_count) % m_capacity] = CRkRef<IRkUnknown>::Retain(item).Detach();
  ++m_count;
  if (!isFull) ReleaseSemaphore(m_items, 1, nullptr);
  return TRUE;
}

CRkRef<IRkUnknown> CRkSampleQueue::_TakeOldest() {
  auto oldest = CRkRef<IRkUnknown>::Adopt(m_ring[m_oldest]);
  m_oldest = (m_oldest + 1) % m_capacity;
  --m_count;
  return oldest;
}

CRkRef<IRkUnknown> CRkSampleQueue::Pop(DWORD timeoutMs) {
  return RkWait(m_items, timeoutMs) ? PopCounted() : CRkRef<IRkUnknown>();
}

CRkRef<IRkUnknown> CRkSampleQueue::PopCounted() {
  CRkScopedLock lock(m_lock);
  if (m_count == 0) return {};  // flushed since the wait
  return _TakeOldest();
}

void CRkSampleQueue::Flush() {
  CRkScopedLock lock(m_lock);
  while (m_count > 0) {
    RkWait(m_items, 0);
    _TakeOldest();
  }
}

int CRkSampleQueue::Count() {
  CRkScopedLock lock(m_lock);
  return static_cast<int>(m_count);
}
