#pragma once

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "contracts/RkTypes.h"

// What the worker takes from its orders at the start of a frame.
struct SRkWorkerOrders {
  bool paused;        // produce nothing but requested frames
  bool pauseBegun;    // the pause is new: empty the cache, then acknowledge
  UINT position;      // a positioning request, or kRkNoPosition
  UINT moveToOffset;  // move the current element there first, or kRkNoPosition
  UINT ticket;        // names the wait that an acknowledgement may end
};

// Where the control thread's pauses and positioning requests meet the source channel's worker.
//
// Threads: one control thread gives orders and waits, the worker takes and acknowledges them. The lock
// guards every field; it is never held across a wait or a call to anything else. Each order draws a new
// ticket and resets the event under the lock, and an acknowledgement carries the ticket that was read
// with the order, so that a late answer to an earlier order never ends the wait for a later one.
class CRkWorkerOrders {
 public:
  // FALSE when the acknowledge event cannot be created.
  BOOL Create();

  // Discards a waiting request and pauses.
  void Pause();
  // As Pause; the worker also moves its current element, then or, if it does not answer in time, later.
  void PauseAndMove(UINT offset);
  void Resume();
  // At a stop: nothing that was asked for reaches the next run.
  void Forget();
  // Also forgets a move of the run before.
  void ResumeForNewRun();
  void RequestPosition(UINT position);
  bool WaitForAcknowledge(DWORD timeoutMs) const;

  // Worker: hands over what is new, and each new thing once.
  SRkWorkerOrders Take();
  void Acknowledge(UINT ticket);
  // Worker: whether a new pause or move waits, which a frame on its way to the cache does not survive.
  bool AreNewer();

 private:
  void _NewTicket() RK_REQUIRES(m_lock);

  CRkCriticalSection m_lock;
  SRkWorkerOrders m_orders RK_GUARDED_BY(m_lock) = {false, false, kRkNoPosition, kRkNoPosition, 0};
  CRkHandle m_acknowledged;  // manual reset
};
