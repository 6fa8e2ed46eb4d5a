#pragma once

#include "platform/RkPlatform.h"

// Marks what a shared library of the family offers to others, and what its users take from it.
#ifdef _WIN32
#define RK_EXPORT __declspec(dllexport)
#define RK_IMPORT __declspec(dllimport)
#else
#define RK_EXPORT __attribute__((visibility("default")))
#define RK_IMPORT __attribute__((visibility("default")))
#endif

// Stands for no position wherever a position may be absent.
inline constexpr UINT kRkNoPosition = 0xFFFFFFFFu;

// Plays a list for ever.
inline constexpr int kRkRepeatEndless = -1;
