#include "rkplay/clips/PlayBufferPool.h"

#include <memory>
#include <new>
#include <utility>

#include "base/CRkRef.h"

namespace rkplay {
namespace {

constexpr std::align_val_t kAlignment{64};

struct AlignedDelete {
  void operator()(BYTE* data) const { ::operator delete(data, kAlignment); }
};

}  // namespace

// Lent out with one reference; the last Release brings it back.
class PlayBufferPool::Buffer final : public CRkObject<IRkPlayBuffer> {
 public:
  explicit Buffer(UINT capacity)
      : m_data(static_cast<BYTE*>(::operator new(capacity, kAlignment, std::nothrow))),
        m_capacity(capacity) {}

  bool IsGood() const { return m_data != nullptr; }

  void Lend(PlayBufferPool* pool) {
    m_references = 1;
    m_pool = CRkRef<PlayBufferPool>::Retain(pool);
  }

  UINT AddRef() override { return static_cast<UINT>(InterlockedIncrement(&m_references)); }
  UINT Release() override {
    const LONG left = InterlockedDecrement(&m_references);
    if (left == 0) {
      const CRkRef<PlayBufferPool> pool = std::move(m_pool);  // lives until the buffer rests in it
      pool->_TakeBack(this);
    }
    return static_cast<UINT>(left);
  }

  BYTE* GetData() override { return m_data.get(); }
  UINT GetCapacity() override { return m_capacity; }

 private:
  const std::unique_ptr<BYTE, AlignedDelete> m_data;
  const UINT m_capacity;
  LONG volatile m_references = 0;
  CRkRef<PlayBufferPool> m_pool;  // while lent out
};

PlayBufferPool::~PlayBufferPool() {
  for (const auto& [capacity, buffer] : m_idle) delete buffer;
}

BOOL PlayBufferPool::GetBuffer(UINT bytes, IRkPlayBuffer** buffer) {
  *buffer = nullptr;
  Buffer* found = _TakeIdle(bytes);
  if (found == nullptr) {
    std::unique_ptr<Buffer> created(new (std::nothrow) Buffer(bytes));
    if (!created || !created->IsGood()) return FALSE;
    found = created.release();
  }
  found->Lend(this);
  *buffer = found;
  return TRUE;
}

// A plane at most twice as large as it has to be, so that small requests do not use up the large ones.
PlayBufferPool::Buffer* PlayBufferPool::_TakeIdle(UINT bytes) {
  CRkScopedLock lock(m_lock);
  const auto found = m_idle.lower_bound(bytes);
  if (found == m_idle.end() || found->first / 2 > bytes) return nullptr;
  Buffer* buffer = found->second;
  m_idleBytes -= found->first;
  m_idle.erase(found);
  return buffer;
}

void PlayBufferPool::_TakeBack(Buffer* buffer) {
  std::unique_ptr<Buffer> surplus(buffer);  // freed after the lock
  CRkScopedLock lock(m_lock);
  if (m_idleBytes + buffer->GetCapacity() > m_maximumIdleBytes) return;
  m_idle.emplace(buffer->GetCapacity(), buffer);
  m_idleBytes += buffer->GetCapacity();
  static_cast<void>(surplus.release());
}

}  // namespace rkplay
