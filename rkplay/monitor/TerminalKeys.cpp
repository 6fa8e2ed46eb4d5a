#include "rkplay/monitor/TerminalKeys.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace rkplay {
namespace {

constexpr int kPollMs = 50;
constexpr char kEscape = '\x1b';
constexpr size_t kLongestSequence = 8;

constexpr std::pair<char, Key> kLetters[] = {
    {'?', Key::Help}, {' ', Key::Pause},        {'t', Key::Take},        {'r', Key::Repeat},
    {'q', Key::Quit}, {'\n', Key::TakeWhenDue}, {'\r', Key::TakeWhenDue}};

// Behind the escape letter; terminals differ in two of them.
constexpr std::pair<std::string_view, Key> kSequences[] = {
    {"[D", Key::FrameBack},   {"[C", Key::FrameForward},   {"OD", Key::FrameBack}, {"OC", Key::FrameForward},
    {"[5~", Key::SecondBack}, {"[6~", Key::SecondForward}, {"[H", Key::First},     {"[F", Key::Last},
    {"OH", Key::First},       {"OF", Key::Last},           {"[1~", Key::First},    {"[4~", Key::Last},
    {"[7~", Key::First},      {"[8~", Key::Last}};

}  // namespace

// A program in the background would be stopped for touching the terminal.
bool TerminalKeys::IsTerminal() {
  return isatty(STDIN_FILENO) != 0 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

TerminalKeys::TerminalKeys(KeyQueue& keys) : m_keys(keys) {
  termios settings{};
  if (IsTerminal() && tcgetattr(STDIN_FILENO, &settings) == 0) m_before = settings;
  _SetTerminal();
  m_thread = std::thread([this] { _Read(); });
}

TerminalKeys::~TerminalKeys() {
  SetEvent(m_stop);
  m_thread.join();
  Restore();
}

void TerminalKeys::Restore() {
  CRkScopedLock lock(m_lock);
  if (m_before) tcsetattr(STDIN_FILENO, TCSANOW, &*m_before);
  m_before.reset();
}

// Changes nothing while the terminal is as it should be, or belongs to another program.
void TerminalKeys::_SetTerminal() {
  constexpr auto kLineMode = static_cast<tcflag_t>(ICANON | ECHO);
  termios settings{};
  CRkScopedLock lock(m_lock);
  if (!m_before || !IsTerminal() || tcgetattr(STDIN_FILENO, &settings) != 0) return;
  if ((settings.c_lflag & kLineMode) == 0) return;
  settings.c_lflag &= ~kLineMode;
  tcsetattr(STDIN_FILENO, TCSANOW, &settings);
}

void TerminalKeys::_Read() {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  while (!RkWait(m_stop, 0)) {
    _SetTerminal();
    if (poll(&input, 1, kPollMs) <= 0) continue;
    char letters[64];
    const ssize_t count = read(STDIN_FILENO, letters, sizeof(letters));
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) break;
    for (const char letter : std::string_view(letters, static_cast<size_t>(count))) _Translate(letter);
  }
  m_inputEnded = true;
}

void TerminalKeys::_Translate(char letter) {
  if (!m_sequence.empty() || letter == kEscape) {
    if (letter == kEscape) m_sequence.clear();
    m_sequence += letter;
    return _TranslateSequence();
  }
  for (const auto& [known, key] : kLetters) {
    if (letter == known) m_keys.Put(key);
  }
}

void TerminalKeys::_TranslateSequence() {
  const std::string behind = m_sequence.substr(1);
  for (const auto& [known, key] : kSequences) {
    if (behind != known) continue;
    m_keys.Put(key);
    m_sequence.clear();
    return;
  }
  if (behind.size() == 1 && behind != "[" && behind != "O") {  // Escape alone means nothing
    m_sequence.clear();
    return _Translate(behind.front());
  }
  const bool couldGrow = behind.size() < 2 || behind.back() < '@';
  if (!couldGrow || m_sequence.size() > kLongestSequence) m_sequence.clear();
}

}  // namespace rkplay
