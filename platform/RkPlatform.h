#pragma once

// The operating system as the engine sees it: the Windows names, on every system.
//
// On Windows this header is the system's own. Elsewhere it declares the part of those names that the
// engine uses, with the same widths and results; `platform/linux/` implements them.
//
// Kept as on Windows:
//  - a wait never ends early: time-outs run on the monotonic clock, spurious wake-ups are absorbed;
//  - wait-any consumes exactly the signalled object with the lowest index; wait-all consumes nothing
//    until every object is signalled, and then all of them simultaneously;
//  - a semaphore never rises above its maximum; a release that would do so changes nothing and fails;
//  - an object may be closed as soon as its waiters have returned, also while the call that woke them
//    is still on its way out;
//  - objects share no lock, so objects of different owners never wait for each other.
// Not kept:
//  - handles stand for events and semaphores only; they are neither named, inherited nor duplicated;
//  - no alertable waits, no fairness: which of several waiters gets the next unit is not defined;
//  - closing an object while a thread waits on it is undefined (Windows keeps the object until then);
//  - critical sections have no spin count and no owner query;
//  - a thread's first timed wait sets that thread's timer slack to the least, for waits of 1 ms.
// A call that cannot be served fails: it returns the documented failure value and sets GetLastError().

#ifdef _WIN32

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#ifdef __MINGW32__
// In the import library, but not in every version of the headers.
extern "C" __declspec(dllimport) HRESULT WINAPI SetThreadDescription(HANDLE thread, PCWSTR description);
#endif

#else

#include <cstdint>

#include <pthread.h>

using BOOL = int;
using BYTE = unsigned char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using LONG = std::int32_t;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using HANDLE = void*;
using HWND = struct RkWindow*;
using PCWSTR = const wchar_t*;
using HRESULT = LONG;

union LARGE_INTEGER {
  LONGLONG QuadPart;
};

struct SECURITY_ATTRIBUTES;

#ifndef RK_NO_PLATFORM_CONSTANTS
#include "platform/linux/RkConstants.h"
#endif

// The failure code of the calling thread's last failed call.
DWORD GetLastError();
void SetLastError(DWORD code);

// Recursive mutual exclusion. Enter blocks without limit; Leave must be called by the owner.
struct CRITICAL_SECTION {
  pthread_mutex_t mutex;
};
void InitializeCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);

// Null on failure: no memory, or attributes or a name given (both must be null here).
HANDLE CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initiallySet, PCWSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

// Null on failure; also for a maximum below 1 or an initial count outside 0..maximum.
HANDLE CreateSemaphoreW(SECURITY_ATTRIBUTES* attributes, LONG initialCount, LONG maximumCount, PCWSTR name);
// FALSE, and no change, for a count below 1 or one that would pass the maximum. `previous` may be null.
BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous);

BOOL CloseHandle(HANDLE object);

// WAIT_OBJECT_0, WAIT_TIMEOUT or WAIT_FAILED. INFINITE waits without limit, 0 only tests.
DWORD WaitForSingleObject(HANDLE object, DWORD timeoutMs);
// WAIT_OBJECT_0 + index (wait-any), WAIT_OBJECT_0 (wait-all), WAIT_TIMEOUT or WAIT_FAILED. At most
// MAXIMUM_WAIT_OBJECTS objects; one object given twice to a wait-all fails.
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL waitAll, DWORD timeoutMs);

// Full barriers. Increment and Decrement return the new value, the others the old one.
inline LONG InterlockedIncrement(LONG volatile* value) {
  return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedDecrement(LONG volatile* value) {
  return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
}
inline LONG InterlockedExchangeAdd(LONG volatile* value, LONG step) {
  return __atomic_fetch_add(value, step, __ATOMIC_SEQ_CST);
}

// The kernel's id of the calling thread.
DWORD GetCurrentThreadId();
// A pseudo handle that means the calling thread; only the two calls below take it.
HANDLE GetCurrentThread();
// Takes what the process is allowed: TIME_CRITICAL asks for the real-time round-robin class and falls
// back to the best share of the normal class. FALSE when nothing could be raised.
BOOL SetThreadPriority(HANDLE thread, int priority);
// Names the calling thread for debuggers; the kernel keeps the first 15 characters.
HRESULT SetThreadDescription(HANDLE thread, PCWSTR description);

BOOL QueryPerformanceCounter(LARGE_INTEGER* counter);
BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);
// Milliseconds of the monotonic clock.
ULONGLONG GetTickCount64();

// An honest no-op: remembers the calling thread's flags and returns the previous ones, but keeps no
// computer awake. Returns 0 for flags it does not know.
DWORD SetThreadExecutionState(DWORD flags);

#endif
