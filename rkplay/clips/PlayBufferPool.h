#pragma once

#include <cstddef>
#include <map>

#include "base/CRkCriticalSection.h"
#include "base/CRkUnknown.h"
#include "contracts/RkHost.h"

namespace rkplay {

// Picture memory that is used again: a plane that comes back waits for the next one of its size.
//
// Any thread may enter. The lock guards the planes at rest and is held for bookkeeping only, never while
// memory is taken or given back to the system. Planes at rest belong to the pool, those lent out keep the
// pool alive. At most maximumIdleBytes rest; what comes back beyond that is freed.
class PlayBufferPool final : public CRkUnknown<IRkPlayBufferPool> {
 public:
  explicit PlayBufferPool(size_t maximumIdleBytes) : m_maximumIdleBytes(maximumIdleBytes) {}

  BOOL GetBuffer(UINT bytes, IRkPlayBuffer** buffer) override;

 private:
  class Buffer;

  ~PlayBufferPool() override;

  Buffer* _TakeIdle(UINT bytes);
  void _TakeBack(Buffer* buffer);

  const size_t m_maximumIdleBytes;
  CRkCriticalSection m_lock;
  std::multimap<UINT, Buffer*> m_idle RK_GUARDED_BY(m_lock);  // by capacity
  size_t m_idleBytes RK_GUARDED_BY(m_lock) = 0;
};

}  // namespace rkplay
