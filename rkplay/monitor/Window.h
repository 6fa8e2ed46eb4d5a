#pragma once

#include <memory>
#include <string>

#include "rkplay/files/PicturePlanes.h"
#include "rkplay/monitor/Keys.h"

namespace rkplay {

// The monitor's window: shows the newest picture it was given, in its shape, and passes keys on.
//
// All of SDL's video is used on a thread of the window's own, which draws and reads the keys. The operations
// come from any thread and return immediately; the lock guards what they leave for that thread. Of a picture
// only the planes are held, so the device has its sample back as soon as it has shown it.
//
// A display that goes away, or a window that somebody destroys, takes nothing with it, and stays lost.
class Window {
 public:
  // Throws UsageError when there is no display or no window can be made.
  Window(const SRkVideoResolution& format, KeyQueue& keys);
  // Waits up to 2 s for the thread; one that a dead display holds on to is left behind.
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Whether the environment names a display.
  static bool HasDisplay();

  void Show(IRkVideoSample& picture);
  void Blank();
  void SetTitle(const std::string& title);

  // False while there is no window, or the display takes no pictures.
  bool IsShowing() const;
  // How often the display was lost.
  unsigned LossCount() const;

  // Whether a window's thread was left behind: exit handlers would then wait for a lock that it holds.
  static bool HasLeftThread();

 private:
  void _End();

  class Core;

  std::unique_ptr<Core> m_core;
};

}  // namespace rkplay
