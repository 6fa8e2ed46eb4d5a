#include "rkplay/system/StopSignals.h"

#include <atomic>
#include <csignal>

#include "platform/RkPlatform.h"

namespace rkplay {
namespace {

std::atomic<int> g_asked = 0;

// On a thread of the system's. The second request is left to the system, which ends the program. The program
// of a closed console ends when this returns, or after five seconds, so this waits for the system.
BOOL WINAPI OnControl(DWORD event) {
  const bool isClosing = event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT;
  if (g_asked.exchange(event == CTRL_C_EVENT ? SIGINT : SIGTERM) != 0) return FALSE;
  if (isClosing) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

StopSignals::StopSignals() {
  g_asked = 0;
  SetConsoleCtrlHandler(&OnControl, TRUE);
}

int StopSignals::Asked() {
  if (m_asked == 0) m_asked = g_asked;
  return m_asked;
}

}  // namespace rkplay
