#pragma once

#include <cstddef>
#include <new>

#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkHost.h"

// Picture memory from the heap, 64-byte aligned, for a clip element whose host gives it no pool. Owns its
// memory. Any thread may hold and release it; only a sole holder may write.
class CRkHeapPlayBuffer final : public CRkUnknown<IRkPlayBuffer> {
 public:
  // FALSE without memory; `buffer` is then unchanged.
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

// Takes a buffer of at least `bytes` from the pool; from the heap when the pool is null, has none, or gives
// too small a one. FALSE when there is no memory either; `buffer` is then unchanged.
inline BOOL RkTakePlayBuffer(IRkPlayBufferPool* pool, UINT bytes, IRkPlayBuffer** buffer) {
  CRkRef<IRkPlayBuffer> pooled;
  if (pool != nullptr && pool->GetBuffer(bytes, pooled.Out()) && pooled && pooled->GetData() != nullptr &&
      pooled->GetCapacity() >= bytes) {
    *buffer = pooled.Detach();
    return TRUE;
  }
  return CRkHeapPlayBuffer::Create(bytes, buffer);
}
