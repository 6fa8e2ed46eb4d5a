#include "output_channel/CRkSwitchRequest.h"

#include "base/RkMonotonicTime.h"

CRkSwitchRequest::CRkSwitchRequest(SRkChannelWaits& waits)
    : m_waits(waits), m_pending(CRkHandle::ManualResetEvent()), m_answered(CRkHandle::ManualResetEvent()) {}

std::optional<UINT> CRkSwitchRequest::RaiseAndWait() {
  const UINT request = _Raise();
  const CRkDeadline deadline(m_waits.switchPlayMs);
  for (;;) {
    ++m_waits.switchPlays;
    if (!RkWait(m_answered, deadline.RemainingMs())) return std::nullopt;
    ResetEvent(m_answered);
    if (m_lastAnswered == request) return m_position.load();
  }
}

UINT CRkSwitchRequest::_Raise() {
  ResetEvent(m_answered);
  CRkScopedLock lock(m_lock);
  SetEvent(m_pending);
  return ++m_lastRaised;
}

void CRkSwitchRequest::Take(UINT position) {
  {
    CRkScopedLock lock(m_lock);
    ResetEvent(m_pending);
    m_lastTaken = m_lastRaised;
  }
  m_position = position;
}

void CRkSwitchRequest::Answer() {
  {
    CRkScopedLock lock(m_lock);
    m_lastAnswered = m_lastTaken;
  }
  SetEvent(m_answered);
}
