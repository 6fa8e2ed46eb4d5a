#include "source_channel/CRkPendingOrders.h"

BOOL CRkPendingOrders::Create() {
  m_acknowledged = CRkHandle::ManualResetEvent();
  return m_acknowledged ? TRUE : FALSE;
}

void CRkPendingOrders::Pause() {
  PauseAndMove(kRkNoPosition);
}

void CRkPendingOrders::PauseAndMove(UINT offset) {
  CRkScopedLock lock(m_lock);
  _DrawTicket();
  m_next.position = kRkNoPosition;
  m_next.paused = true;
  m_next.pauseBegun = true;
  if (offset != kRkNoPosition) m_next.moveToOffset = offset;
}

void CRkPendingOrders::Resume() {
  CRkScopedLock lock(m_lock);
  m_next.paused = false;
  m_next.pauseBegun = false;
}

void CRkPendingOrders::RequestPosition(UINT position) {
  CRkScopedLock lock(m_lock);
  _DrawTicket();
  m_next.position = position;
}

bool CRkPendingOrders::WaitForAcknowledge(DWORD timeoutMs) const {
  return RkWait(m_acknowledged, timeoutMs);
}

void CRkPendingOrders::Restart() {
  Resume();
  CRkScopedLock lock(m_lock);
  m_next.moveToOffset = kRkNoPosition;
}

void CRkPendingOrders::Clear() {
  Restart();
  CRkScopedLock lock(m_lock);
  m_next.position = kRkNoPosition;
}

SRkFrameOrder CRkPendingOrders::Take() {
  CRkScopedLock lock(m_lock);
  const SRkFrameOrder taken = m_next;
  m_next.pauseBegun = false;
  m_next.position = kRkNoPosition;
  m_next.moveToOffset = kRkNoPosition;
  return taken;
}

void CRkPendingOrders::Acknowledge(UINT ticket) {
  CRkScopedLock lock(m_lock);
  if (ticket == m_next.ticket) SetEvent(m_acknowledged);
}

bool CRkPendingOrders::DiscardsFrame() {
  CRkScopedLock lock(m_lock);
  return m_next.pauseBegun || m_next.moveToOffset != kRkNoPosition;
}

void CRkPendingOrders::_DrawTicket() {
  ++m_next.ticket;
  ResetEvent(m_acknowledged);
}
