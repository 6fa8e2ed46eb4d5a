#pragma once

// What a lock guards and what a function needs held, checked by clang (-Wthread-safety) and invisible to
// other compilers.
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
