#include "rkplay/monitor/DisplayWatch.h"

#include <SDL.h>
#include <SDL_syswm.h>

#include <atomic>

#if defined(SDL_VIDEO_DRIVER_X11)
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace rkplay {
namespace {

std::atomic<bool> g_isLost = false;
std::atomic<bool> g_isConnectionLost = false;

#if defined(SDL_VIDEO_DRIVER_X11)

// Errors on one object: the window was destroyed by somebody else. Anything else SDL can live with.
int OnError(Display*, XErrorEvent* error) {
  constexpr int kFirstExtensionError = 128;
  const int code = error->error_code;
  if (code == BadWindow || code == BadDrawable || code >= kFirstExtensionError) g_isLost = true;
  return 0;
}

// Returning would end the program, or hand SDL events made of nothing: the thread stays here.
int OnConnectionLost(Display*) {
  g_isLost = g_isConnectionLost = true;
  while (true) pause();
}

// SDL loads the X library by itself, so rkplay is not linked with it.
template <class Function>
Function* XFunction(const char* name) {
  void* const library = dlopen("libX11.so.6", RTLD_LAZY | RTLD_NOLOAD);
  if (library == nullptr) return nullptr;
  auto* const function = reinterpret_cast<Function*>(dlsym(library, name));
  dlclose(library);
  return function;
}

#endif

}  // namespace

void DisplayWatch::Begin(SDL_Window* window) {
  g_isLost = false;
#if defined(SDL_VIDEO_DRIVER_X11)
  SDL_SysWMinfo system;
  SDL_VERSION(&system.version);
  if (SDL_GetWindowWMInfo(window, &system) == SDL_FALSE || system.subsystem != SDL_SYSWM_X11) return;
  using SetHandler = int (*(int (*)(Display*, XErrorEvent*)))(Display*, XErrorEvent*);
  using SetIoHandler = int (*(int (*)(Display*)))(Display*);
  if (auto* const set = XFunction<SetHandler>("XSetErrorHandler")) set(&OnError);
  if (auto* const set = XFunction<SetIoHandler>("XSetIOErrorHandler")) set(&OnConnectionLost);
#else
  (void)window;
#endif
}

bool DisplayWatch::IsLost() {
  return g_isLost;
}

bool DisplayWatch::IsConnectionLost() {
  return g_isConnectionLost;
}

}  // namespace rkplay
