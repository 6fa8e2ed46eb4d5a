#pragma once

namespace rkplay {

// Ctrl-C and SIGTERM ask for a clean stop, once: the second one ends the program at once. A write to a
// pipe that nobody reads any more becomes an error instead of a signal.
void CatchStopSignals();

// The signal that asked; 0 while none has.
int StopSignal();

}  // namespace rkplay
