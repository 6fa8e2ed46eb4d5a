#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace rkplay {

enum class SoundChoice { System, Virtual, None };

struct MonitorOptions {
  bool window = false;  // else nobody watches
  SoundChoice sound = SoundChoice::System;
  std::string soundPath;  // with Virtual: what is heard, written; empty: it is not
};

// For the foot of a help text.
extern const char kMonitorHelp[];

// The options --monitor and --sound, for every command that has a monitor. Alive until the command line
// has been parsed.
class MonitorArguments {
 public:
  explicit MonitorArguments(CLI::App& app);

  // What was asked for; where nothing was, the kind that is the rule: window, virtual or none. Throws
  // UsageError.
  std::optional<MonitorOptions> Chosen(const std::string& rule) const;

 private:
  std::string m_monitor;  // empty: not given
  std::string m_sound;
};

}  // namespace rkplay
