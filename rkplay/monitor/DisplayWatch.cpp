#include "rkplay/monitor/DisplayWatch.h"

#include <SDL.h>
#include <SDL_syswm.h>

#if defined(SDL_VIDEO_DRIVER_X11)
#include <dlfcn.h>
#endif

namespace rkplay {
namespace {

bool g_isLost = false;

#if defined(SDL_VIDEO_DRIVER_X11)

Window g_window = 0;

// SDL can live with errors on anything but our window: on windows of others, or of an extension.
int OnError(Display*, XErrorEvent* error) {
  const bool isGone = error->error_code == BadWindow || error->error_code == BadDrawable;
  if (isGone && error->resourceid == g_window) g_isLost = true;
  return 0;
}

#endif

}  // namespace

void DisplayWatch::Begin(SDL_Window* window) {
  g_isLost = false;
#if defined(SDL_VIDEO_DRIVER_X11)
  SDL_SysWMinfo system;
  SDL_VERSION(&system.version);
  if (SDL_GetWindowWMInfo(window, &system) == SDL_FALSE || system.subsystem != SDL_SYSWM_X11) return;
  g_window = system.info.x11.window;
  // SDL loads the X library by itself, so rkplay is not linked with it.
  void* const library = dlopen("libX11.so.6", RTLD_LAZY | RTLD_NOLOAD);
  if (library == nullptr) return;
  using SetHandler = int (*(int (*)(Display*, XErrorEvent*)))(Display*, XErrorEvent*);
  if (auto* const set = reinterpret_cast<SetHandler*>(dlsym(library, "XSetErrorHandler"))) set(&OnError);
  dlclose(library);
#else
  (void)window;
#endif
}

bool DisplayWatch::IsLost() {
  return g_isLost;
}

}  // namespace rkplay
