#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "rkplay/monitor/Keys.h"
#include "rkplay/system/Terminal.h"

namespace rkplay {

// Reads keys from the standard input on a thread of its own: single keys from a terminal, which it keeps
// from echoing and collecting lines meanwhile, or the same letters through a pipe.
//
// A shell changes the terminal while the program is stopped (Ctrl-Z), so the thread sets it again once the
// program is back in the foreground. The lock guards the settings that Restore gives back; it holds while the
// terminal is set.
class TerminalKeys {
 public:
  explicit TerminalKeys(KeyQueue& keys);
  ~TerminalKeys();
  TerminalKeys(const TerminalKeys&) = delete;
  TerminalKeys& operator=(const TerminalKeys&) = delete;

  // Whether the standard input is a terminal that this program may read.
  static bool IsTerminal() { return TerminalInput::IsTerminal(); }

  // Gives the terminal back as it was. Any time, from one thread.
  void Restore() RK_EXCLUDES(m_lock);
  // No key can come any more.
  bool InputEnded() const { return m_inputEnded; }

 private:
  void _SetTerminal() RK_EXCLUDES(m_lock);
  void _Read();
  void _Translate(char letter);
  void _TranslateSequence();

  KeyQueue& m_keys;
  CRkCriticalSection m_lock;
  TerminalInput m_input RK_GUARDED_BY(m_lock);
  std::string m_sequence;  // an escape sequence that is not complete
  const CRkHandle m_stop = CRkHandle::ManualResetEvent();
  std::atomic<bool> m_inputEnded = false;
  std::thread m_thread;
};

}  // namespace rkplay
