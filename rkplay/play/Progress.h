#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "contracts/RkTypes.h"
#include "rkplay/clips/ClipList.h"

namespace rkplay {

// Tells what plays: on a terminal one line that is written over several times a second, elsewhere a line
// for every begin and, while a list lasts, one every few seconds. One thread.
class Progress {
 public:
  // listCount 0: what plays is no list.
  Progress(int frameRate, size_t listCount);

  void ListBegins(size_t index, const ClipList& list);
  // `position`: of the last of them, in the list.
  void FramesDelivered(ULONGLONG count, UINT position);
  // The frame on screen stands.
  void Paused(UINT position);
  void AwaitsTake();
  // Lines of their own; the live line goes on below.
  void Say(const std::string& text);
  // Added to the live line from now on.
  void Note(const std::string& note) { m_note = note; }
  bool IsDue() const { return Clock::now() >= m_nextShow; }
  // Leaves the live line behind before other output.
  void End();

 private:
  using Clock = std::chrono::steady_clock;

  void _Show(const std::string& text);
  std::string _Position() const;
  double _Speed() const;

  const int m_frameRate;
  const size_t m_listCount;
  const bool m_isTerminal;
  const Clock::time_point m_start = Clock::now();
  Clock::time_point m_nextShow;
  ULONGLONG m_framesInAll = 0;

  std::string m_list;  // of the current list: its number, its title, its length
  std::string m_title;
  std::string m_total;
  std::string m_note;
  UINT m_position = 0;
  bool m_isLive = false;  // the cursor stands behind a live line
};

}  // namespace rkplay
