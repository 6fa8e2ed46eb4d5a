#pragma once

#include "base/CRkObject.h"

// The shared reference count of every object that is not pooled. Any thread may enter.
template <class Interface>
class CRkUnknown : public CRkObject<Interface> {
 public:
  CRkUnknown(const CRkUnknown&) = delete;
  CRkUnknown& operator=(const CRkUnknown&) = delete;

  UINT AddRef() override { return static_cast<UINT>(InterlockedIncrement(&m_references)); }

  UINT Release() override {
    // After the decrement another thread may destroy the object, so it must not be read.
    const LONG now = InterlockedDecrement(&m_references);
    if (now == 0) delete this;
    return static_cast<UINT>(now);
  }

 protected:
  CRkUnknown() = default;
  ~CRkUnknown() override = default;

 private:
  LONG volatile m_references = 1;
};
