#include "host/MonitorOptions.h"

#include <CLI/CLI.hpp>
#include <string_view>

#include "host/UsageError.h"
#include "host/Window.h"

namespace rkplay {
namespace {

constexpr std::string_view kWave = ".wav";

bool IsWaveFile(std::string_view name) {
  return name.size() > kWave.size() && name.substr(name.size() - kWave.size()) == kWave;
}

void ChooseSound(const std::string& sound, MonitorOptions& monitor) {
  if (sound == "system") {
    monitor.sound = SoundChoice::System;
  } else if (sound == "virtual") {
    monitor.sound = SoundChoice::Virtual;
  } else if (sound == "none") {
    monitor.sound = SoundChoice::None;
  } else if (IsWaveFile(sound)) {
    monitor.sound = SoundChoice::Virtual;
    monitor.soundPath = sound;
  } else {
    throw UsageError("--sound: '" + sound + "' is not system, virtual, none or a .wav file");
  }
}

}  // namespace

MonitorArguments::MonitorArguments(CLI::App& app) {
  const char* const group = "Monitor";
  app.add_flag("--monitor{window}", m_monitor,
               "window: pictures in a window; virtual: the same without one; none. A window is the rule "
               "where there is a display and no file is written")
      ->type_name("[=KIND]")
      ->group(group);
  app.add_option("--sound", m_sound,
                 "system: the machine's sound card; virtual: a sound card in name only; none; or a .wav file "
                 "that takes what would be heard. The rule: system with a window, else virtual")
      ->type_name("KIND")
      ->group(group);
}

std::optional<MonitorOptions> MonitorArguments::Chosen(bool byDefault) const {
  std::string kind = m_monitor;
  if (kind.empty()) kind = byDefault && Window::HasDisplay() ? "window" : "none";
  if (kind == "none") {
    if (!m_sound.empty()) throw UsageError("--sound: there is no monitor to play it (--monitor=virtual)");
    return std::nullopt;
  }
  if (kind != "window" && kind != "virtual") {
    throw UsageError("--monitor: '" + kind + "' is not window, virtual or none");
  }
  MonitorOptions monitor;
  monitor.window = kind == "window";
  monitor.sound = monitor.window ? SoundChoice::System : SoundChoice::Virtual;
  if (!m_sound.empty()) ChooseSound(m_sound, monitor);
  return monitor;
}

}  // namespace rkplay
