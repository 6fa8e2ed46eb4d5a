#pragma once

#include <atomic>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "contracts/RkTypes.h"

// The frame that is due on screen now, in the numbering of the submitted frames, and their number.
//
// Threads: the pacing thread moves the frame on, the video thread reads it when the event is set, the host
// counts what it submits. The display lock guards the shown frame and its base and is a leaf.
class CRkShownFrame {
 public:
  BOOL Create();

  // While the threads do not run.
  void Reset();
  // First thing on the pacing thread: none is due until the clock has been read.
  void BeginPlay();

  void AdvanceByOne();
  // From a frame count of the clock. When that runs past the submitted frames, the newest one is due and
  // later ones follow the clock from there: the lost time is not made up.
  void AdvanceTo(UINT clockFrame);
  // At the end of play the last submitted frame is due.
  void AdvanceToLast();

  UINT Get();
  bool IsLast() { return Get() + 1 >= Submitted(); }
  UINT Submitted() const { return m_submitted; }
  void CountSubmitted() { ++m_submitted; }
  void ClearSubmitted() { m_submitted = 0; }

  HANDLE Event() const { return m_event; }  // auto reset: the shown frame has changed

 private:
  std::atomic<UINT> m_submitted = 0;
  CRkCriticalSection m_displayLock;
  UINT m_shown RK_GUARDED_BY(m_displayLock) = 0;  // 0xFFFFFFFF before the first reading
  UINT m_base RK_GUARDED_BY(m_displayLock) = 0;   // clock frame of submitted frame 0
  CRkHandle m_event;
};
