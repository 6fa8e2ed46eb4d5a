#include "output_device/CRkPacingRun.h"

namespace {

constexpr DWORD kPassPauseMs = 1;
constexpr DWORD kVideoDoneTimeoutMs = 1000;
constexpr UINT kTickTimeoutMs = 100;

}  // namespace

void CRkPacingRun::Run(HANDLE exitEvent, HANDLE stopEvent, HANDLE videoDoneEvent, HANDLE audioDoneEvent) {
  m_shownFrame.BeginRun();
  const HANDLE ends[] = {exitEvent, stopEvent};
  while (WaitForMultipleObjects(2, ends, FALSE, kPassPauseMs) == WAIT_TIMEOUT) _Pass(exitEvent);

  if (m_feed != nullptr) m_feed->Drain(exitEvent);
  m_shownFrame.AdvanceToLast();
  // Without a stop the video thread is not done before it is told to exit, and then tells nobody.
  if (RkWait(stopEvent, 0)) RkWait(videoDoneEvent, kVideoDoneTimeoutMs);
  SetEvent(audioDoneEvent);
}

void CRkPacingRun::_Pass(HANDLE exitEvent) {
  if (m_feed != nullptr) return m_feed->Pass(exitEvent);
  m_clock->WaitTick(kTickTimeoutMs);  // every return counts as one frame
  m_shownFrame.AdvanceByOne();
}
