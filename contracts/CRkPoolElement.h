#pragma once

#include "contracts/RkKernel.h"

// The reference count of objects that an owner lends out and takes back. Any thread may enter.
//
// The owner keeps one reference to each element. The Release that leaves only that one gives the element
// back, on the thread that made it; exactly one Release does so. The owner pointer is borrowed: who sets
// it keeps the owner alive for as long as an element is lent out, and sets it only while nobody else
// holds the element.
template <class Interface>
class CRkPoolElement : public Interface {
 public:
  CRkPoolElement(const CRkPoolElement&) = delete;
  CRkPoolElement& operator=(const CRkPoolElement&) = delete;

  UINT AddRef() override { return static_cast<UINT>(InterlockedIncrement(&m_references)); }

  UINT Release() override {
    // After the decrement another thread may destroy the element: nothing of it is read any more.
    IRkPoolElementOwner* const owner = m_owner;
    const LONG now = InterlockedDecrement(&m_references);
    if (now == 0) {
      this->OnFinalRelease();
      delete this;
      return 0;
    }
    if (now == 1 && owner != nullptr) owner->GiveBack(this);
    return static_cast<UINT>(now);
  }

  void OnFinalRelease() override {}

  void SetOwner(IRkPoolElementOwner* owner) { m_owner = owner; }

  // References besides the owner's. Exact for a caller that holds all of them, else already stale.
  UINT UserCount() const {
    const LONG now = InterlockedExchangeAdd(&m_references, 0);
    return static_cast<UINT>(m_owner != nullptr ? now - 1 : now);
  }

 protected:
  CRkPoolElement() = default;
  ~CRkPoolElement() override = default;

 private:
  mutable LONG volatile m_references = 1;
  IRkPoolElementOwner* m_owner = nullptr;
};
