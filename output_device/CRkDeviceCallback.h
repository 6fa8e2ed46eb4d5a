#pragma once

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "output_device/IRkSoftwareOutputDevice.h"

// The host's callback, which may be exchanged while the device plays. The lock guards the pointer only:
// calls are made with a reference of their own and no lock held.
class CRkDeviceCallback {
 public:
  // TRUE when one is set now.
  BOOL Set(IRkSoftwareOutputCallback* callback) {
    auto replaced = CRkRef<IRkSoftwareOutputCallback>::Retain(callback);
    CRkScopedLock lock(m_lock);
    std::swap(m_callback, replaced);
    return m_callback ? TRUE : FALSE;
  }

  CRkRef<IRkSoftwareOutputCallback> Get() {
    CRkScopedLock lock(m_lock);
    return m_callback;
  }

 private:
  CRkCriticalSection m_lock;
  CRkRef<IRkSoftwareOutputCallback> m_callback RK_GUARDED_BY(m_lock);
};
