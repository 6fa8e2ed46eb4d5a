#include "rkplay/system/StopSignals.h"

#include <csignal>
#include <ctime>
#include <initializer_list>

namespace rkplay {
namespace {

sigset_t g_signals;

}  // namespace

StopSignals::StopSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  sigemptyset(&g_signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    // A shell starts background programs with SIGINT ignored; that SIGHUP is ignored is somebody's wish.
    if (std::signal(signal, SIG_DFL) == SIG_IGN && signal == SIGHUP) {
      std::signal(signal, SIG_IGN);
      continue;
    }
    sigaddset(&g_signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &g_signals, nullptr);
}

int StopSignals::Asked() {
  constexpr timespec kNoWait{};
  if (m_asked != 0) return m_asked;
  const int signal = sigtimedwait(&g_signals, nullptr, &kNoWait);
  if (signal > 0) {
    m_asked = signal;
    pthread_sigmask(SIG_UNBLOCK, &g_signals, nullptr);
  }
  return m_asked;
}

}  // namespace rkplay
