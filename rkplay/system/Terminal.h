#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace rkplay {

// Prepares the standard output for UTF-8 and escape sequences. Once, before any output.
void SetUpTerminalOutput();
bool IsOutputTerminal();
// Of the terminal behind the standard output; nothing when it does not say.
std::optional<size_t> TerminalColumns();

// The standard input: single keys from a terminal, which neither echoes nor collects lines meanwhile, or
// letters through a pipe. Keys that are no letters come as the sequences that terminals send. Not
// thread-safe.
class TerminalInput {
 public:
  TerminalInput();
  ~TerminalInput();
  TerminalInput(const TerminalInput&) = delete;
  TerminalInput& operator=(const TerminalInput&) = delete;

  // Whether the standard input is a terminal that this program may read.
  static bool IsTerminal();

  // Sets the terminal. Changes nothing while it is set, belongs to another program or has been restored.
  void Set();
  // Gives the terminal back as it was, for good.
  void Restore();

 private:
  struct Settings;
  std::unique_ptr<Settings> m_before;  // terminals only, until Restore
};

// Waits up to 50 ms for letters on the standard input and returns them. Nothing when no more can come.
std::optional<std::string> ReadTerminal();

}  // namespace rkplay
