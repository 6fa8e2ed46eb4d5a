#pragma once

#include <cstddef>
#include <new>

#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkHost.h"

// Picture memory of a clip element's own, 64-byte aligned, for hosts whose pool gives none. Any thread may
// hold and release it; whoever holds it alone may write.
class CRkHeapPlayBuffer final : public CRkUnknown<IRkPlayBuffer> {
 public:
  // FALSE, and no change, when there is no memory.
  static BOOL Create(UINT bytes, IRkPlayBuffer** buffer) {
    void* data = ::operator new(bytes, kAlignment, std::nothrow);
    if (data == nullptr) return FALSE;
    CRkHeapPlayBuffer* created = new (std::nothrow) CRkHeapPlayBuffer(static_cast<BYTE*>(data), bytes);
    if (created == nullptr) {
      ::operator delete(data, kAlignment);
      return FALSE;
    }
    *buffer = created;
    return TRUE;
  }

  BYTE* GetData() override { return m_data; }
  UINT GetCapacity() override { return m_capacity; }

 private:
  static constexpr std::align_val_t kAlignment{64};

  CRkHeapPlayBuffer(BYTE* data, UINT capacity) : m_data(data), m_capacity(capacity) {}
  ~CRkHeapPlayBuffer() override { ::operator delete(m_data, kAlignment); }

  BYTE* const m_data;
  const UINT m_capacity;
};

// Memory for `bytes` from the pool, or from the heap when the pool is null, has none, or gives too little.
// FALSE, and no change, when there is no memory at all.
inline BOOL RkTakePlayBuffer(IRkPlayBufferPool* pool, UINT bytes, IRkPlayBuffer** buffer) {
  CRkRef<IRkPlayBuffer> pooled;
  if (pool != nullptr && pool->GetBuffer(bytes, pooled.Out()) && pooled && pooled->GetData() != nullptr &&
      pooled->GetCapacity() >= bytes) {
    *buffer = pooled.Detach();
    return TRUE;
  }
  return CRkHeapPlayBuffer::Create(bytes, buffer);
}
