#pragma once

#include "platform/RkPlatform.h"

// State what a lock guards and which locks a function needs. clang checks them (-Wthread-safety); other
// compilers ignore them.
#if defined(__clang__)
#define RK_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define RK_THREAD_ANNOTATION(x)
#endif

#define RK_CAPABILITY(name) RK_THREAD_ANNOTATION(capability(name))
#define RK_SCOPED_CAPABILITY RK_THREAD_ANNOTATION(scoped_lockable)
#define RK_GUARDED_BY(lock) RK_THREAD_ANNOTATION(guarded_by(lock))
#define RK_REQUIRES(...) RK_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define RK_EXCLUDES(...) RK_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define RK_ACQUIRE(...) RK_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RK_RELEASE(...) RK_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define RK_ACQUIRED_BEFORE(...) RK_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define RK_NO_THREAD_SAFETY_ANALYSIS RK_THREAD_ANNOTATION(no_thread_safety_analysis)

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
