#pragma once

#include "platform/RkPlatform.h"

#ifdef _WIN32
#include <mmsystem.h>
#endif

// While one lives, waits of a few milliseconds end on time. Windows would round them up to its clock's tick,
// commonly 15.6 ms. Elsewhere waits always do. Any thread may hold any number.
class CRkFineTiming {
 public:
  CRkFineTiming(const CRkFineTiming&) = delete;
  CRkFineTiming& operator=(const CRkFineTiming&) = delete;
#ifdef _WIN32
  CRkFineTiming() {
    timeBeginPeriod(kPeriodMs);
  }
  ~CRkFineTiming() {
    timeEndPeriod(kPeriodMs);
  }

 private:
  static constexpr UINT kPeriodMs = 1;
#else
  CRkFineTiming() {}
  ~CRkFineTiming() {}
#endif
};
