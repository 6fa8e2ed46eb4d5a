#pragma once

#include "contracts/RkKernel.h"

// The reference count of objects that an owner may lend out and take back. Any thread may enter.
//
// The owner keeps one reference to each object. The Release that leaves only that one gives the object
// back, on the thread that made it; exactly one Release does so. The owner pointer is borrowed: who sets
// it keeps the owner alive for as long as an object is lent out, and sets it only while nobody else
// holds the object.
template <class Interface>
class CRkLentObject : public Interface {
 public:
  CRkLentObject(const CRkLentObject&) = delete;
  CRkLentObject& operator=(const CRkLentObject&) = delete;

  UINT AddRef() override { return static_cast<UINT>(InterlockedIncrement(&m_references)); }

  UINT Release() override {
    // After the decrement another thread may destroy the object: nothing of it is read any more, but by
    // the one thread that gives it back.
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

  // References besides the owner's. Exact for a caller that holds all of them, else already stale.
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
