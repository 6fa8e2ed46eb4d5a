#pragma once

#include "contracts/IRkUnknown.h"

// The shared reference count of every object that is not pooled. Any thread may enter.
template <class Interface>
class CRkUnknown : public Interface {
 public:
  CRkUnknown(const CRkUnknown&) = delete;
  CRkUnknown& operator=(const CRkUnknown&) = delete;

  UINT AddRef() override {
    InterlockedIncrement(&m_references);
    return References();
  }

  UINT Release() override {
    if (InterlockedDecrement(&m_references) == 0) {
      delete this;
      return 0;
    }
    return References();
  }

 protected:
  CRkUnknown() = default;
  ~CRkUnknown() override = default;

 private:
  // Another thread may have changed the count since the step that the caller made.
  UINT References() {
    const LONG now = InterlockedCompareExchange(&m_references, 0, 0);
    return now > 0 ? static_cast<UINT>(now) : 1u;
  }

  LONG volatile m_references = 1;
};
