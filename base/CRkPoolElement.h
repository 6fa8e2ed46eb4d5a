#pragma once

#include "base/CRkObject.h"
#include "contracts/RkKernel.h"

// The reference count of objects that an owner lends out and takes back. Any thread may enter.
//
// The owner keeps one reference to each object. Exactly one Release leaves only that reference; it gives the
// object back, on its own thread. The owner pointer is borrowed: the caller of SetOwner keeps the owner alive
// while an object is lent out, and calls it only while nobody else holds the object.
template <class Interface>
class CRkLentObject : public CRkObject<Interface> {
 public:
  CRkLentObject(const CRkLentObject&) = delete;
  CRkLentObject& operator=(const CRkLentObject&) = delete;

  UINT AddRef() override { return static_cast<UINT>(InterlockedIncrement(&m_references)); }

  UINT Release() override {
    // After the decrement another thread may destroy the object. Only the thread that gives it back may still
    // read it.
    IRkPoolElementOwner* const owner = m_owner;
    const LONG now = InterlockedDecrement(&m_references);
    if (now == 0) {
      _BeforeDestruction();
      delete this;
      return 0;
    }
    if (now == 1 && owner != nullptr) _GiveBack(*owner);
    return static_cast<UINT>(now);
  }

  void SetOwner(IRkPoolElementOwner* owner) { m_owner = owner; }

  // References besides the owner's. Exact for a caller that holds all of them, otherwise already stale.
  UINT UserCount() const {
    const LONG now = InterlockedExchangeAdd(&m_references, 0);
    return static_cast<UINT>(m_owner != nullptr ? now - 1 : now);
  }

 protected:
  CRkLentObject() = default;
  ~CRkLentObject() override = default;

  virtual void _GiveBack(IRkPoolElementOwner& owner) = 0;
  virtual void _BeforeDestruction() {}

 private:
  mutable LONG volatile m_references = 1;
  IRkPoolElementOwner* m_owner = nullptr;
};

// The same for interfaces that derive from IRkPoolElement.
template <class Interface>
class CRkPoolElement : public CRkLentObject<Interface> {
 public:
  void OnFinalRelease() override {}

 protected:
  CRkPoolElement() = default;
  ~CRkPoolElement() override = default;

 private:
  void _GiveBack(IRkPoolElementOwner& owner) override { owner.GiveBack(this); }
  void _BeforeDestruction() override { this->OnFinalRelease(); }
};
