#include "rkplay/cli/MonitorOptions.h"

#include <CLI/CLI.hpp>
#include <string_view>

#include "rkplay/cli/Messages.h"

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

const char kMonitorHelp[] =
    "Monitors:\n"
    "  --monitor, --monitor=window   pictures in a window, where there is a display; sound by the machine's "
    "card\n"
    "  --monitor=virtual             the same without window and card: it tells what would be seen and "
    "heard\n"
    "  --monitor=none                nobody watches\n"
    "  --sound                       system: the machine's sound card; virtual: a card in name only; none;\n"
    "                                a .wav file: a card in name only, and what it plays is written\n";

MonitorArguments::MonitorArguments(CLI::App& app) {
  app.add_flag("--monitor{window}", m_monitor, "window, virtual or none: see below")->group("Monitor");
  app.add_option("--sound", m_sound, "system, virtual, none or a .wav file: see below")
      ->type_name("KIND")
      ->group("Monitor");
}

std::optional<MonitorOptions> MonitorArguments::Chosen(const std::string& rule) const {
  const std::string& kind = m_monitor.empty() ? rule : m_monitor;
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
