#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/CRkRef.h"
#include "output_device/IRkSoftwareOutputDevice.h"
#include "rkplay/cli/Options.h"
#include "rkplay/monitor/Keys.h"
#include "rkplay/monitor/PresentationMeter.h"
#include "rkplay/monitor/SoundTap.h"
#include "rkplay/monitor/Window.h"

namespace rkplay {

// Shows what goes out: the software output device with a window, or with nobody watching, and what sound
// there is. Putting a frame waits until the device has room, which paces the programme.
//
// One thread at a time calls it, Seen any; the device calls the screen on its own two.
class Monitor {
 public:
  // Throws UsageError when the window, the sound's file or the device cannot be had.
  Monitor(const MonitorOptions& options, const SRkClipFormat& format, KeyQueue& keys);
  ~Monitor();
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  // Takes the sample over: it is given a mark of the monitor's. The caption goes to the window's title when
  // the picture appears.
  bool Put(IRkAVPlaySample& sample, std::string caption);
  // Plays out what has been put and stands still on the last picture. Put goes on.
  void Pause();
  // Without a frame for so long, the device runs dry: it plays silence and loses step.
  std::chrono::nanoseconds Reserve() const { return m_reserve; }
  // While paused: the picture appears at once.
  void ShowStill(IRkAVPlaySample& sample, const std::string& caption);
  // Plays out and closes. Adds what went wrong.
  void Close(std::vector<std::string>& errors);

  // Nothing: there is sound, or none was wanted. Else why pictures go out alone.
  std::optional<std::string> WhyMute() const;
  bool HasWindow() const { return m_window != nullptr; }
  Presentation Seen() const { return m_meter.Result(); }

 private:
  class Screen;

  void _LetGo(std::vector<std::string>& errors);
  void _FillShortRun();

  const std::chrono::nanoseconds m_reserve;
  const bool m_isMono;
  CRkRef<IRkVideoSample> m_lastPicture;  // that was put
  PresentationMeter m_meter;
  const bool m_wantsSound;
  CRkRef<SoundTap> m_tap;
  std::unique_ptr<Window> m_window;  // null: nobody watches
  CRkRef<Screen> m_screen;
  CRkRef<IRkSoftwareOutputDevice> m_device;
};

}  // namespace rkplay
