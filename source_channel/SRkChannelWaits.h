#pragma once

#include <atomic>

#include "contracts/RkTypes.h"

// The time-outs and the time unit of a source or output channel in milliseconds, and which time-outs are
// running. A channel borrows one record for its whole life; any thread may read and change it.
struct SRkChannelWaits {
  std::atomic<DWORD> frameMs = 1;          // the worker's wait for its stop event before each frame
  std::atomic<DWORD> preRollMs = 1000;     // Play waits for the pre-roll
  std::atomic<DWORD> pauseMs = 1000;       // BeginSeek and SetElementMode wait for the worker to pause
  std::atomic<DWORD> stopMs = 100000;      // Stop waits for the worker to return
  std::atomic<DWORD> closeMs = 1000;       // the destructor waits for the worker's thread to end
  std::atomic<DWORD> switchPlayMs = 5000;  // SwitchPlay waits for its answer

  std::atomic<DWORD> seekUnitMs = 1000;  // the hook's seek interval counts in seconds

  std::atomic<UINT> switchPlays = 0;  // waits that SwitchPlay has begun: its request stands
};

inline SRkChannelWaits g_rkChannelWaits;  // of every channel that a factory creates
