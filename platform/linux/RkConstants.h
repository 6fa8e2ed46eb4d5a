#pragma once

#include "platform/RkPlatform.h"

// The Windows constants. No macros, so that a host may define the same names later; those that the host has
// defined already are the host's. A host that declares them in another way (an enum) defines
// RK_NO_PLATFORM_CONSTANTS before it includes any header of the project.

#ifndef TRUE
inline constexpr BOOL TRUE = 1;
#endif
#ifndef FALSE
inline constexpr BOOL FALSE = 0;
#endif
#ifndef INFINITE
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
#endif
#ifndef WAIT_OBJECT_0
inline constexpr DWORD WAIT_OBJECT_0 = 0;
#endif
#ifndef WAIT_TIMEOUT
inline constexpr DWORD WAIT_TIMEOUT = 258;
#endif
#ifndef WAIT_FAILED
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
#endif
#ifndef MAXIMUM_WAIT_OBJECTS
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;
#endif

#ifndef ERROR_SUCCESS
inline constexpr DWORD ERROR_SUCCESS = 0;
#endif
#ifndef ERROR_INVALID_HANDLE
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
#endif
#ifndef ERROR_NOT_ENOUGH_MEMORY
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
#endif
#ifndef ERROR_NOT_SUPPORTED
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
#endif
#ifndef ERROR_INVALID_PARAMETER
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
#endif
#ifndef ERROR_TOO_MANY_POSTS
inline constexpr DWORD ERROR_TOO_MANY_POSTS = 298;
#endif

#ifndef THREAD_PRIORITY_NORMAL
inline constexpr int THREAD_PRIORITY_NORMAL = 0;
#endif
#ifndef THREAD_PRIORITY_HIGHEST
inline constexpr int THREAD_PRIORITY_HIGHEST = 2;
#endif
#ifndef THREAD_PRIORITY_TIME_CRITICAL
inline constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
#endif

#ifndef ES_CONTINUOUS
inline constexpr DWORD ES_CONTINUOUS = 0x80000000;
#endif
#ifndef ES_SYSTEM_REQUIRED
inline constexpr DWORD ES_SYSTEM_REQUIRED = 0x00000001;
#endif
#ifndef ES_DISPLAY_REQUIRED
inline constexpr DWORD ES_DISPLAY_REQUIRED = 0x00000002;
#endif
