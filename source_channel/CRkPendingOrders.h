#pragma once

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "contracts/RkTypes.h"

// The orders that the reader finds before a frame.
struct SRkFrameOrder {
  bool paused = false;                // produce nothing but requested frames
  bool pauseBegun = false;            // the pause is new: empty the cache, then acknowledge
  UINT position = kRkNoPosition;      // the requested position
  UINT moveToOffset = kRkNoPosition;  // move the current element there first
  UINT ticket = 0;                    // names the wait that an acknowledgement may end
};

// Passes pauses and positioning requests from the control thread to the source channel's reader.
//
// Threads: one control thread gives orders and waits; the worker takes and acknowledges them. The lock
// guards the orders; it is never held across a wait or a call to anything else. Each order draws a new
// ticket and resets the event under the lock. An acknowledgement carries the ticket of the order that it
// answers, so a late one never ends the wait for a newer order.
class CRkPendingOrders {
 public:
  // FALSE when the acknowledge event cannot be created.
  BOOL Create();

  // Pauses, and discards a request that the reader has not taken.
  void Pause();
  // Pauses, and has the reader move its current element, even if it takes the order after the wait ended.
  void PauseAndMove(UINT offset);
  void Resume();
  void RequestPosition(UINT position);
  bool WaitForAcknowledge(DWORD timeoutMs) const;
  // Before the worker starts: ends a pause and a move of the epoch before, but keeps a request.
  void Restart();
  // At a stop: discards everything.
  void Clear();

  // Worker: takes each new order once.
  SRkFrameOrder Take();
  void Acknowledge(UINT ticket);
  // Worker: whether a new pause or move waits. A frame on its way to the cache must then be dropped.
  bool DiscardsFrame();

 private:
  void _DrawTicket() RK_REQUIRES(m_lock);

  CRkCriticalSection m_lock;
  SRkFrameOrder m_next RK_GUARDED_BY(m_lock);
  CRkHandle m_acknowledged;  // manual reset
};
