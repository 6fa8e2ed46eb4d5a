#include "host/StopSignal.h"

#include <csignal>

namespace rkplay {
namespace {

volatile std::sig_atomic_t g_signal = 0;

void Remember(int signal) {
  g_signal = signal;
}

}  // namespace

void CatchStopSignals() {
  struct sigaction action = {};
  action.sa_handler = Remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

int StopSignal() {
  return g_signal;
}

}  // namespace rkplay
