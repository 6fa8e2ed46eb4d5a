#include "output_device/CRkPacing.h"

namespace {

constexpr DWORD kVideoDoneTimeoutMs = 1000;

}  // namespace

void CRkPacing::Run() {
  m_shownFrame.BeginPlay();
  while (!_Pause()) Pass();
  Drain();
  m_shownFrame.AdvanceToLast();
  // Without a stop the video thread ends at its own exit event and reports nothing.
  if (RkWait(m_events.stop, 0)) RkWait(m_events.videoDone, kVideoDoneTimeoutMs);
  SetEvent(m_events.audioDone);
}

bool CRkPacing::_WaitForEnd(DWORD timeoutMs) const {
  const HANDLE ends[] = {m_events.exit, m_events.stop};
  return WaitForMultipleObjects(2, ends, FALSE, timeoutMs) != WAIT_TIMEOUT;
}
