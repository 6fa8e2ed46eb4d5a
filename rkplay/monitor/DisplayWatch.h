#pragma once

struct SDL_Window;

namespace rkplay {

// Keeps the X library from ending the process for every error, and notices when somebody destroys the
// window. The loss of the whole display ends the process all the same. One window a process, on the thread
// that uses it; on other video systems it does nothing.
class DisplayWatch {
 public:
  static void Begin(SDL_Window* window);
  // Whether the window has gone since Begin.
  static bool IsLost();
};

}  // namespace rkplay
