#pragma once

#include "base/RkThreadAnnotations.h"
#include "platform/RkPlatform.h"

// Owns a critical section: recursive, private to the object that holds it. Any thread may enter.
class RK_CAPABILITY("mutex") CRkCriticalSection {
 public:
  CRkCriticalSection() { InitializeCriticalSection(&m_section); }
  ~CRkCriticalSection() { DeleteCriticalSection(&m_section); }
  CRkCriticalSection(const CRkCriticalSection&) = delete;
  CRkCriticalSection& operator=(const CRkCriticalSection&) = delete;

  void Enter() RK_ACQUIRE() { EnterCriticalSection(&m_section); }
  void Leave() RK_RELEASE() { LeaveCriticalSection(&m_section); }

 private:
  CRITICAL_SECTION m_section;
};

// Holds a critical section from its construction to the end of its scope.
class RK_SCOPED_CAPABILITY CRkScopedLock {
 public:
  explicit CRkScopedLock(CRkCriticalSection& section) RK_ACQUIRE(section) : m_section(section) {
    m_section.Enter();
  }
  ~CRkScopedLock() RK_RELEASE() { m_section.Leave(); }
  CRkScopedLock(const CRkScopedLock&) = delete;
  CRkScopedLock& operator=(const CRkScopedLock&) = delete;

 private:
  CRkCriticalSection& m_section;
};
