#pragma once

struct SDL_Window;

namespace rkplay {

// Keeps the X library from ending the program when its display goes away, and tells of the loss. One
// display at a time, on the thread that uses it; on other video systems it does nothing.
class DisplayWatch {
 public:
  // From the window's creation on.
  static void Begin(SDL_Window* window);
  // Whether the display, or the window on it, has gone since Begin.
  static bool IsLost();
  // Whether the display itself has gone. The thread that used it then never returns from SDL.
  static bool IsConnectionLost();
};

}  // namespace rkplay
