#include "rkplay/system/Terminal.h"

#include <string_view>
#include <utility>

#include "platform/RkPlatform.h"

namespace rkplay {
namespace {

constexpr DWORD kPollMs = 50;
constexpr DWORD kVirtualTerminalProcessing = 0x0004;

constexpr std::pair<WORD, std::string_view> kSequences[] = {{VK_LEFT, "\x1b[D"},   {VK_RIGHT, "\x1b[C"},
                                                            {VK_PRIOR, "\x1b[5~"}, {VK_NEXT, "\x1b[6~"},
                                                            {VK_HOME, "\x1b[H"},   {VK_END, "\x1b[F"}};

HANDLE Input() {
  return GetStdHandle(STD_INPUT_HANDLE);
}

HANDLE Output() {
  return GetStdHandle(STD_OUTPUT_HANDLE);
}

std::string LettersOf(const KEY_EVENT_RECORD& key) {
  if (!key.bKeyDown) return {};
  std::string letters;
  for (const auto& [code, sequence] : kSequences) {
    if (key.wVirtualKeyCode == code) letters = sequence;
  }
  if (letters.empty() && key.uChar.AsciiChar != 0) letters = key.uChar.AsciiChar;
  return letters;
}

std::optional<std::string> ReadConsoleKeys() {
  INPUT_RECORD records[64];
  DWORD count = 0;
  if (WaitForSingleObject(Input(), kPollMs) != WAIT_OBJECT_0) return "";
  if (!ReadConsoleInputA(Input(), records, 64, &count)) return std::nullopt;
  std::string letters;
  for (DWORD i = 0; i < count; ++i) {
    if (records[i].EventType == KEY_EVENT) letters += LettersOf(records[i].Event.KeyEvent);
  }
  return letters;
}

}  // namespace

void SetUpTerminalOutput() {
  DWORD mode = 0;
  SetConsoleOutputCP(CP_UTF8);
  if (GetConsoleMode(Output(), &mode)) SetConsoleMode(Output(), mode | kVirtualTerminalProcessing);
}

bool IsOutputTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(Output(), &mode) != FALSE;
}

std::optional<size_t> TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(Output(), &info)) return std::nullopt;
  return static_cast<size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

struct TerminalInput::Settings {
  DWORD mode = 0;
};

bool TerminalInput::IsTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(Input(), &mode) != FALSE;
}

TerminalInput::TerminalInput() {
  Settings before;
  if (GetConsoleMode(Input(), &before.mode)) m_before = std::make_unique<Settings>(before);
  Set();
}

TerminalInput::~TerminalInput() {
  Restore();
}

void TerminalInput::Restore() {
  if (m_before) SetConsoleMode(Input(), m_before->mode);
  m_before.reset();
}

void TerminalInput::Set() {
  constexpr DWORD kLineMode = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;
  DWORD mode = 0;
  if (!m_before || !GetConsoleMode(Input(), &mode) || (mode & kLineMode) == 0) return;
  SetConsoleMode(Input(), mode & ~kLineMode);
}

// A pipe cannot be waited for, so its contents are looked at from time to time.
std::optional<std::string> ReadTerminal() {
  if (TerminalInput::IsTerminal()) return ReadConsoleKeys();
  DWORD count = 0;
  if (GetFileType(Input()) == FILE_TYPE_PIPE) {
    if (!PeekNamedPipe(Input(), nullptr, 0, nullptr, &count, nullptr)) return std::nullopt;
    if (count == 0) {
      Sleep(kPollMs);
      return "";
    }
  }
  char letters[64];
  if (!ReadFile(Input(), letters, sizeof(letters), &count, nullptr) || count == 0) return std::nullopt;
  return std::string(letters, count);
}

}  // namespace rkplay
