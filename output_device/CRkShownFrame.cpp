#include "output_device/CRkShownFrame.h"

BOOL CRkShownFrame::Create() {
  m_event = CRkHandle::AutoResetEvent();
  return m_event ? TRUE : FALSE;
}

void CRkShownFrame::Reset() {
  CRkScopedLock lock(m_displayLock);
  m_shown = 0;
  ResetEvent(m_event);
}

void CRkShownFrame::BeginPlay() {
  CRkScopedLock lock(m_displayLock);
  m_shown = kRkNoPosition;
  m_base = 0;
}

void CRkShownFrame::AdvanceByOne() {
  CRkScopedLock lock(m_displayLock);
  ++m_shown;
  SetEvent(m_event);
}

void CRkShownFrame::AdvanceTo(UINT clockFrame) {
  CRkScopedLock lock(m_displayLock);
  if (clockFrame == m_base + m_shown) return;
  const UINT submitted = m_submitted;
  if (clockFrame - m_base >= submitted) m_base = clockFrame - submitted + 1;
  m_shown = clockFrame - m_base;
  SetEvent(m_event);
}

void CRkShownFrame::AdvanceToLast() {
  CRkScopedLock lock(m_displayLock);
  const UINT submitted = m_submitted;
  if (m_shown + 1 >= submitted) return;
  m_shown = submitted - 1;
  SetEvent(m_event);
}

UINT CRkShownFrame::Get() {
  CRkScopedLock lock(m_displayLock);
  return m_shown;
}
