#pragma once

#include <memory>
#include <string>

#include "rkplay/files/PicturePlanes.h"
#include "rkplay/monitor/Keys.h"

namespace rkplay {

// The monitor's window: shows the newest picture it was given, in its shape, and passes keys on.
//
// The window lives in a process of its own, so that neither a display that goes away, nor one that hangs,
// nor a window that somebody destroys can hold or end the program. A thread serves that process, and starts
// another in its place about once a second until a window opens. The operations come from any thread; all
// but Settle return immediately. The lock guards what they leave for the thread and what it has counted. Of a
// picture only the planes are held, so the device has its sample back as soon as it has shown it.
class Window {
 public:
  // Waits up to 10 s for the window. Throws UsageError when there is no display or no window can be made.
  Window(const SRkVideoResolution& format, KeyQueue& keys);
  // Waits up to 2 s for the process, then kills it.
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Whether the environment names a display.
  static bool HasDisplay();

  // isCounted: the picture counts as undrawn if it is never drawn.
  void Show(IRkVideoSample& picture, bool isCounted);
  void Blank();
  void SetTitle(const std::string& title);

  // Until the last picture is drawn or the window is lost, at most 1 s.
  void Settle();
  // False while there is no window, or the display takes no pictures.
  bool IsShowing() const;
  // How often the window was lost, or took no picture for a second.
  unsigned LossCount() const;
  // Counted pictures that were replaced or lost before they were drawn.
  ULONGLONG UndrawnCount() const;

 private:
  class Core;

  std::unique_ptr<Core> m_core;
};

}  // namespace rkplay
