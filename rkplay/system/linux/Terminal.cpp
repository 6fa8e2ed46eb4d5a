#include "rkplay/system/Terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace rkplay {

void SetUpTerminalOutput() {}

bool IsOutputTerminal() {
  return isatty(STDOUT_FILENO) != 0;
}

std::optional<size_t> TerminalColumns() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
  return size.ws_col;
}

struct TerminalInput::Settings {
  termios terminal{};
};

// A program in the background would be stopped for touching the terminal.
bool TerminalInput::IsTerminal() {
  return isatty(STDIN_FILENO) != 0 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

TerminalInput::TerminalInput() {
  auto before = std::make_unique<Settings>();
  if (IsTerminal() && tcgetattr(STDIN_FILENO, &before->terminal) == 0) m_before = std::move(before);
  Set();
}

TerminalInput::~TerminalInput() {
  Restore();
}

void TerminalInput::Restore() {
  if (m_before) tcsetattr(STDIN_FILENO, TCSANOW, &m_before->terminal);
  m_before.reset();
}

// A shell changes the terminal while the program is stopped (Ctrl-Z).
void TerminalInput::Set() {
  constexpr auto kLineMode = static_cast<tcflag_t>(ICANON | ECHO);
  termios settings{};
  if (!m_before || !IsTerminal() || tcgetattr(STDIN_FILENO, &settings) != 0) return;
  if ((settings.c_lflag & kLineMode) == 0) return;
  settings.c_lflag &= ~kLineMode;
  tcsetattr(STDIN_FILENO, TCSANOW, &settings);
}

std::optional<std::string> ReadTerminal() {
  constexpr int kPollMs = 50;
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  if (poll(&input, 1, kPollMs) <= 0) return "";
  char letters[64];
  const ssize_t count = read(STDIN_FILENO, letters, sizeof(letters));
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return "";
  if (count <= 0) return std::nullopt;
  return std::string(letters, static_cast<size_t>(count));
}

}  // namespace rkplay
