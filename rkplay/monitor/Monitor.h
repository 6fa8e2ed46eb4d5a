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

// Where a frame stands in the programme, for those who tell what is on screen.
struct FramePlace {
  size_t list = 0;
  UINT position = 0;
};

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
  void Put(IRkAVPlaySample& sample, const FramePlace& place, std::string caption);
  // Of the frame on screen; nothing before the first of a run.
  std::optional<FramePlace> Shown() const;
  void SetTitle(const std::string& title);
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
  Presentation Seen() const;
  // One line for each loss and return since the last call.
  std::vector<std::string> News();

 private:
  class Screen;

  void _Release(std::vector<std::string>& errors);
  void _FillShortRun();

  const std::chrono::nanoseconds m_reserve;
  const bool m_isMono;
  CRkRef<IRkVideoSample> m_lastPicture;  // that was put
  bool m_saidDisplayIsLost = false;
  bool m_saidSoundIsLost = false;
  Presentation m_atClose;  // what the device and the window had counted
  PresentationMeter m_meter;
  const bool m_wantsSound;
  CRkRef<SoundTap> m_tap;
  std::unique_ptr<Window> m_window;  // null: nobody watches
  CRkRef<Screen> m_screen;
  CRkRef<IRkSoftwareOutputDevice> m_device;
};

}  // namespace rkplay
