#pragma once

#include <csignal>

namespace rkplay {

// The signals that ask for an end, as a question between frames instead of a handler.
//
// Made on the main thread before any other thread exists that outlives it: they all inherit that the
// signals are blocked, so these wait for the main thread. Once one has been seen, the next ends the
// program at once. A write to a pipe that nobody reads any more becomes an error instead of a signal.
class StopSignals {
 public:
  StopSignals();

  // The signal that asked for a stop; 0 while none has. Main thread only.
  int Asked();

 private:
  sigset_t m_signals;
  int m_asked = 0;
};

}  // namespace rkplay
