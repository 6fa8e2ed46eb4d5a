#pragma once

#include <utility>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"

// A value that any thread may read and replace. The lock guards the value alone; the replaced value is
// destroyed after the lock is left, because its last reference may run code of the host.
template <class Value>
class CRkLocked {
 public:
  CRkLocked() = default;
  CRkLocked(const CRkLocked&) = delete;
  CRkLocked& operator=(const CRkLocked&) = delete;

  Value Get() const {
    CRkScopedLock lock(m_lock);
    return m_value;
  }

  void Set(Value value) {
    CRkScopedLock lock(m_lock);
    std::swap(m_value, value);
  }

 private:
  mutable CRkCriticalSection m_lock;
  Value m_value RK_GUARDED_BY(m_lock){};
};

template <class T>
using CRkLockedRef = CRkLocked<CRkRef<T>>;
