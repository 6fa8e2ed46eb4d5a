#include "source_channel/CRkWorkerOrders.h"

#include <utility>

BOOL CRkWorkerOrders::Create() {
  m_acknowledged = CRkHandle::ManualResetEvent();
  return m_acknowledged ? TRUE : FALSE;
}

void CRkWorkerOrders::Pause() {
  PauseAndMove(kRkNoPosition);
}

void CRkWorkerOrders::PauseAndMove(UINT offset) {
  CRkScopedLock lock(m_lock);
  _NewTicket();
  m_orders.position = kRkNoPosition;
  m_orders.paused = true;
  m_orders.pauseBegun = true;
  if (offset != kRkNoPosition) m_orders.moveToOffset = offset;
}

void CRkWorkerOrders::Resume() {
  CRkScopedLock lock(m_lock);
  m_orders.paused = false;
  m_orders.pauseBegun = false;
}

void CRkWorkerOrders::Forget() {
  ResumeForNewRun();
  CRkScopedLock lock(m_lock);
  m_orders.position = kRkNoPosition;
}

void CRkWorkerOrders::ResumeForNewRun() {
  Resume();
  CRkScopedLock lock(m_lock);
  m_orders.moveToOffset = kRkNoPosition;
}

void CRkWorkerOrders::RequestPosition(UINT position) {
  CRkScopedLock lock(m_lock);
  _NewTicket();
  m_orders.position = position;
}

bool CRkWorkerOrders::WaitForAcknowledge(DWORD timeoutMs) const {
  return RkWait(m_acknowledged, timeoutMs);
}

SRkWorkerOrders CRkWorkerOrders::Take() {
  CRkScopedLock lock(m_lock);
  const SRkWorkerOrders taken = m_orders;
  m_orders.pauseBegun = false;
  m_orders.position = kRkNoPosition;
  m_orders.moveToOffset = kRkNoPosition;
  return taken;
}

void CRkWorkerOrders::Acknowledge(UINT ticket) {
  CRkScopedLock lock(m_lock);
  if (ticket == m_orders.ticket) SetEvent(m_acknowledged);
}

bool CRkWorkerOrders::AreNewer() {
  CRkScopedLock lock(m_lock);
  return m_orders.pauseBegun || m_orders.moveToOffset != kRkNoPosition;
}

void CRkWorkerOrders::_NewTicket() {
  ++m_orders.ticket;
  ResetEvent(m_acknowledged);
}
