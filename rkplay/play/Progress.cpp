#include "rkplay/play/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "rkplay/cli/FrameRate.h"

namespace rkplay {
namespace {

constexpr std::chrono::milliseconds kTerminalInterval(100);
constexpr std::chrono::seconds kPlainInterval(5);
constexpr size_t kUsualColumns = 80;

size_t TerminalColumns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualColumns;
}

std::string Frames(int frameRate, ULONGLONG frames) {
  return Timecode(frameRate, frames) + " (" + std::to_string(frames) + ")";
}

}  // namespace

Progress::Progress(int frameRate, size_t listCount)
    : m_frameRate(frameRate), m_listCount(listCount), m_isTerminal(isatty(STDOUT_FILENO) != 0) {}

void Progress::ListBegins(size_t index, const ClipList& list) {
  const auto announced = list.AnnouncedFrames();
  m_list.clear();
  if (m_listCount != 0)
    m_list = "list " + std::to_string(index + 1) + "/" + std::to_string(m_listCount) + "  ";
  m_title = list.title;
  m_total = Frames(m_frameRate, list.frameCount);
  m_position = list.startFrame;
  m_nextShow = Clock::now();
  if (m_isTerminal) return;
  _Show(m_list + "begins, " + (announced ? Frames(m_frameRate, *announced) : "endless") + "  " + m_title);
}

void Progress::FramesDelivered(ULONGLONG count, UINT position) {
  m_framesInAll += count;
  m_position = position;
  if (IsDue()) _Show(_Position());
}

void Progress::Paused(UINT position) {
  m_position = position;
  _Show(_Position() + "  paused");
}

void Progress::AwaitsTake() {
  _Show(m_list + "has ended, Enter takes the next");
}

void Progress::Say(const std::string& text) {
  if (m_isLive) std::fputs("\r\x1b[K", stdout);
  m_isLive = false;
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
  m_nextShow = Clock::now();
}

void Progress::End() {
  if (!m_isTerminal || m_title.empty()) return;
  _Show(_Position());
  std::fputs("\n", stdout);
  std::fflush(stdout);
}

void Progress::_Show(const std::string& text) {
  m_nextShow = Clock::now() + (m_isTerminal ? Clock::duration(kTerminalInterval) : kPlainInterval);
  if (m_isTerminal) {
    std::printf("\r%s\x1b[K", text.substr(0, TerminalColumns() - 1).c_str());
    m_isLive = true;
  } else {
    std::printf("%s\n", text.c_str());
  }
  std::fflush(stdout);
}

std::string Progress::_Position() const {
  char speed[32];
  std::snprintf(speed, sizeof(speed), "  %.1fx  ", _Speed());
  return m_list + Frames(m_frameRate, m_position) + " of " + m_total + speed + m_note + m_title;
}

double Progress::_Speed() const {
  const std::chrono::duration<double> wall = Clock::now() - m_start;
  const std::chrono::duration<double> played = FrameTime(m_frameRate, m_framesInAll);
  return wall.count() > 0 ? played / wall : 0;
}

}  // namespace rkplay
