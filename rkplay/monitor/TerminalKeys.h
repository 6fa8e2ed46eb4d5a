#pragma once

#include <termios.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>

#include "rkplay/monitor/Keys.h"

namespace rkplay {

// Reads keys from the standard input on a thread of its own: single keys from a terminal, which it keeps
// from echoing and collecting lines meanwhile, or the same letters through a pipe.
class TerminalKeys {
 public:
  explicit TerminalKeys(KeyQueue& keys);
  ~TerminalKeys();
  TerminalKeys(const TerminalKeys&) = delete;
  TerminalKeys& operator=(const TerminalKeys&) = delete;

  // Whether the standard input is a terminal that this program may read.
  static bool IsTerminal();

  // Gives the terminal back as it was. Any time, from one thread.
  void Restore();
  // No key can come any more.
  bool InputEnded() const { return m_inputEnded; }

 private:
  void _Read();
  void _Translate(char letter);
  void _TranslateSequence();

  KeyQueue& m_keys;
  std::optional<termios> m_before;  // terminals only
  std::string m_sequence;           // an escape sequence that is not complete
  const CRkHandle m_stop = CRkHandle::ManualResetEvent();
  std::atomic<bool> m_inputEnded = false;
  std::thread m_thread;
};

}  // namespace rkplay
