#pragma once

#include "platform/RkPlatform.h"

// Mark the functions that a shared library of the family exports, and their import by its users.
#ifdef _WIN32
#define RK_EXPORT __declspec(dllexport)
// Functions need no dllimport, and without it a program may put its own in their place.
#define RK_IMPORT
#else
#define RK_EXPORT __attribute__((visibility("default")))
#define RK_IMPORT __attribute__((visibility("default")))
#endif

// "No position", wherever a position may be absent.
inline constexpr UINT kRkNoPosition = 0xFFFFFFFFu;

// A repeat count: the list plays until it is stopped.
inline constexpr int kRkRepeatEndless = -1;
