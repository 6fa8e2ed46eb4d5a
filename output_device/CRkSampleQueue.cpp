#include "output_device/CRkSampleQueue.h"

CRkSampleQueue::~CRkSampleQueue() {
  Flush();
}

BOOL CRkSampleQueue::Create(int capacity) {
  m_capacity = capacity;
  m_items = CRkHandle::Semaphore(0, capacity);
  return m_items ? TRUE : FALSE;
}

BOOL CRkSampleQueue::Push(IRkUnknown* item, IRkUnknown** dropped) {
  if (item == nullptr) return FALSE;
  CRkScopedLock lock(m_lock);
  m_list.push_back(item);
  item->AddRef();
  if (m_list.size() > static_cast<size_t>(m_capacity)) {
    *dropped = m_list.front();
    m_list.pop_front();
  } else {
    ReleaseSemaphore(m_items, 1, nullptr);
  }
  return TRUE;
}

IRkUnknown* CRkSampleQueue::Pop(DWORD timeoutMs) {
  if (!RkWait(m_items, timeoutMs)) return nullptr;
  CRkScopedLock lock(m_lock);
  if (m_list.empty()) return nullptr;  // flushed since the wait
  IRkUnknown* const oldest = m_list.front();
  m_list.pop_front();
  return oldest;
}

void CRkSampleQueue::Flush() {
  CRkScopedLock lock(m_lock);
  for (IRkUnknown* const item : m_list) {
    RkWait(m_items, 0);
    item->Release();
  }
  m_list.clear();
}

int CRkSampleQueue::Count() {
  CRkScopedLock lock(m_lock);
  return static_cast<int>(m_list.size());
}
