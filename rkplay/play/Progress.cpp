#include "rkplay/play/Progress.h"

#include <cstdio>

#include "rkplay/cli/FrameRate.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/system/Terminal.h"

namespace rkplay {
namespace {

constexpr std::chrono::milliseconds kTerminalInterval(100);
constexpr std::chrono::seconds kPlainInterval(5);
constexpr std::chrono::seconds kSpeedSpan(3);
constexpr size_t kUsualColumns = 80;

std::string Frames(int frameRate, ULONGLONG frames) {
  return Timecode(frameRate, frames) + " (" + std::to_string(frames) + ")";
}

}  // namespace

Progress::Progress(int frameRate, const std::vector<ClipList>& lists)
    : m_frameRate(frameRate), m_lists(lists), m_isTerminal(IsOutputTerminal()), m_recent{{Clock::now(), 0}} {}

void Progress::ListBegins(size_t list) {
  const auto announced = m_lists[list].AnnouncedFrames();
  m_nextShow = Clock::now();
  m_hasBegun = true;
  if (m_isTerminal) return;
  _Show(_Number(list) + "begins, " + (announced ? Frames(m_frameRate, *announced) : "endless") + "  " +
        m_lists[list].title);
}

void Progress::FramesDelivered(ULONGLONG count, size_t list, UINT position) {
  m_framesInAll += count;
  m_list = list;
  m_position = position;
  if (IsDue()) _Show(_Position());
}

void Progress::Paused(size_t list, UINT position) {
  m_list = list;
  m_position = position;
  _Show(_Position() + "  paused");
}

void Progress::AwaitsTake(size_t list) {
  _Show(_Number(list) + "has ended, Enter takes the next");
}

void Progress::Say(const std::string& text) {
  if (m_isLive) std::fputs("\r\x1b[K", stdout);
  m_isLive = false;
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
  m_nextShow = Clock::now();
}

void Progress::End() {
  if (!m_isTerminal || !m_hasBegun) return;
  _Show(_Position());
  std::fputs("\n", stdout);
  std::fflush(stdout);
}

void Progress::_Show(const std::string& text) {
  m_nextShow = Clock::now() + (m_isTerminal ? Clock::duration(kTerminalInterval) : kPlainInterval);
  const std::string line = Printable(text);
  if (m_isTerminal) {
    const std::string_view fitting = CutToBytes(line, TerminalColumns().value_or(kUsualColumns) - 1);
    std::printf("\r%.*s\x1b[K", static_cast<int>(fitting.size()), fitting.data());
    m_isLive = true;
  } else {
    std::printf("%s\n", line.c_str());
  }
  std::fflush(stdout);
}

std::string Progress::_Number(size_t list) const {
  if (m_lists.size() == 1) return "";
  return "list " + std::to_string(list + 1) + "/" + std::to_string(m_lists.size()) + "  ";
}

std::string Progress::_Position() {
  const ClipList& list = m_lists[m_list];
  char speed[32];
  std::snprintf(speed, sizeof(speed), "  %.1fx  ", _Speed());
  const std::string total = list.HasLiveEnd() ? "live" : "of " + Frames(m_frameRate, list.frameCount);
  return _Number(m_list) + Frames(m_frameRate, m_position) + " " + total + speed + m_note + list.title;
}

double Progress::_Speed() {
  const Clock::time_point now = Clock::now();
  m_recent.push_back({now, m_framesInAll});
  while (m_recent.size() > 2 && now - m_recent[1].time > kSpeedSpan) m_recent.pop_front();
  const std::chrono::duration<double> wall = now - m_recent.front().time;
  const std::chrono::duration<double> played =
      FrameTime(m_frameRate, m_framesInAll - m_recent.front().frames);
  return wall.count() > 0 ? played / wall : 0;
}

}  // namespace rkplay
