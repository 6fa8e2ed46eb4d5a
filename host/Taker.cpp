#include "host/Taker.h"

#include <poll.h>
#include <unistd.h>

#include <array>

namespace rkplay {
namespace {

constexpr int kInputPollMs = 50;

}  // namespace

Taker::Taker(IRkClipOutputChannel* channel) : m_channel(channel), m_thread([this] { _ServeGrants(); }) {}

void Taker::_ServeGrants() {
  const std::array<HANDLE, 2> events = {m_stop, m_granted};
  while (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
    if (!_ReadLine()) break;
    UINT position = 0;
    m_channel->SwitchPlay(&position);
  }
  m_over = true;
}

bool Taker::_WaitForInput() const {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  while (!RkWait(m_stop, 0)) {
    if (poll(&input, 1, kInputPollMs) > 0) return true;
  }
  return false;
}

// Byte by byte, so that lines typed ahead stay where they are.
bool Taker::_ReadLine() {
  while (_WaitForInput()) {
    char letter = 0;
    if (read(STDIN_FILENO, &letter, 1) != 1) {
      m_inputEnded = true;
      return false;
    }
    if (letter == '\n') return true;
  }
  return false;
}

}  // namespace rkplay
