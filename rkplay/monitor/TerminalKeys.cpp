#include "rkplay/monitor/TerminalKeys.h"

#include <string_view>
#include <utility>

namespace rkplay {
namespace {

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

TerminalKeys::TerminalKeys(KeyQueue& keys) : m_keys(keys) {
  m_thread = std::thread([this] { _Read(); });
}

TerminalKeys::~TerminalKeys() {
  SetEvent(m_stop);
  m_thread.join();
}

void TerminalKeys::Restore() {
  CRkScopedLock lock(m_lock);
  m_input.Restore();
}

void TerminalKeys::_SetTerminal() {
  CRkScopedLock lock(m_lock);
  m_input.Set();
}

void TerminalKeys::_Read() {
  while (!RkWait(m_stop, 0)) {
    _SetTerminal();
    const std::optional<std::string> letters = ReadTerminal();
    if (!letters) break;
    for (const char letter : *letters) _Translate(letter);
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
