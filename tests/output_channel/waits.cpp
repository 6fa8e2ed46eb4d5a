#include <dlfcn.h>

#include "tests/output_channel/OutputChannelTest.h"

SWaits g_waits;

// Stands before the platform's own: the channels in this program wait here.
DWORD WaitForSingleObject(HANDLE object, DWORD timeoutMs) {
  static const auto wait =
      reinterpret_cast<decltype(&WaitForSingleObject)>(dlsym(RTLD_NEXT, "_Z19WaitForSingleObjectPvj"));
  if (timeoutMs == 1) return wait(object, g_waits.frameMs);
  if (timeoutMs == 1000) return wait(object, g_waits.preRollMs);
  // What is left of SwitchPlay's time when it begins to wait, or waits on.
  const bool switchPlay = timeoutMs > 1000 && timeoutMs <= 5000;
  if (!switchPlay) return wait(object, timeoutMs);
  const DWORD asked = g_waits.switchPlayMs;
  ++g_waits.switchPlays;
  return wait(object, asked);
}
