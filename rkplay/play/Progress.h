#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "contracts/RkTypes.h"
#include "rkplay/clips/ClipList.h"

namespace rkplay {

// Shows what plays: on a terminal one line that is written over several times a second, elsewhere a line for
// every begin and, while a list lasts, one every few seconds. One thread. The lists are borrowed.
class Progress {
 public:
  // Lists are numbered where there are several.
  Progress(int frameRate, const std::vector<ClipList>& lists);

  void ListBegins(size_t list);
  // `list` and `position`: of the frame to show, which may not be the one delivered last.
  void FramesDelivered(ULONGLONG count, size_t list, UINT position);
  // The frame on screen stands.
  void Paused(size_t list, UINT position);
  void AwaitsTake(size_t list);
  // A line of its own; the live line goes on below.
  void Say(const std::string& text);
  // Added to the live line from now on.
  void Note(const std::string& note) { m_note = note; }
  bool IsDue() const { return Clock::now() >= m_nextShow; }
  // Leaves the live line behind before other output.
  void End();

 private:
  using Clock = std::chrono::steady_clock;
  struct Mark {
    Clock::time_point time;
    ULONGLONG frames;
  };

  void _Show(const std::string& text);
  std::string _Number(size_t list) const;
  std::string _Position();
  double _Speed();

  const int m_frameRate;
  const std::vector<ClipList>& m_lists;
  const bool m_isTerminal;
  Clock::time_point m_nextShow;
  ULONGLONG m_framesInAll = 0;
  std::deque<Mark> m_recent;  // what was delivered in the last seconds

  bool m_hasBegun = false;
  size_t m_list = 0;
  UINT m_position = 0;
  std::string m_note;
  bool m_isLive = false;  // the cursor stands behind a live line
};

}  // namespace rkplay
