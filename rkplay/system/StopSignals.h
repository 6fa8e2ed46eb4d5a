#pragma once

namespace rkplay {

// The signals that ask for an end, as a question between frames instead of a handler.
//
// One object at a time, made on the main thread before any other thread exists that outlives it: on Linux
// they all inherit that the signals are blocked, so these wait for the main thread. Once one has been seen,
// the next ends the program immediately. A write to a pipe that has no reader becomes an error instead of a
// signal. On Windows Ctrl-C counts as SIGINT; Ctrl-Break and closing the console count as SIGTERM.
class StopSignals {
 public:
  StopSignals();

  // The signal that asked for a stop; 0 while none has. Main thread only.
  int Asked();

 private:
  int m_asked = 0;
};

}  // namespace rkplay
