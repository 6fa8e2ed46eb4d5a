#pragma once

#include <atomic>
#include <optional>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "source_channel/SRkChannelWaits.h"

// The request for a switch, from SwitchPlay to SwitchChannel and back.
//
//   none --Raise--> pending --Take--> taken --Answer--> none; the wait for that request ends
//
// A request whose wait has timed out stays pending. Requests are numbered, so its late answer does not end
// the wait for a newer one. Threads: one at a time raises and waits; one at a time takes and answers. The
// lock keeps the pending event and the numbers together; it is never held across a wait or another call.
class CRkSwitchRequest {
 public:
  explicit CRkSwitchRequest(SRkChannelWaits& waits);

  bool IsValid() const { return m_pending && m_answered; }
  bool IsPending() const { return RkWait(m_pending, 0); }

  // Raises a request and waits for its answer: the position that the answer carries, or none in time.
  std::optional<UINT> RaiseAndWait();

  // Takes the pending request. `position`: the Playing channel's position at that moment.
  void Take(UINT position);
  // Answers the request taken last.
  void Answer();

 private:
  UINT _Raise();

  SRkChannelWaits& m_waits;
  const CRkHandle m_pending;   // manual reset
  const CRkHandle m_answered;  // manual reset
  CRkCriticalSection m_lock;
  UINT m_lastRaised RK_GUARDED_BY(m_lock) = 0;
  UINT m_lastTaken RK_GUARDED_BY(m_lock) = 0;
  std::atomic<UINT> m_lastAnswered = 0;
  std::atomic<UINT> m_position = 0;  // of the request taken last
};
