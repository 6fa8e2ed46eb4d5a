#pragma once

namespace rkplay {

// The body of a window's process: opens the window, obeys the orders of the program that started it, and
// reports back. Returns the exit status when that program closes the socket; a lost display ends the process.
int RunWindowProcess();

}  // namespace rkplay
