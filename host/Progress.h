#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "contracts/RkTypes.h"
#include "host/ClipList.h"

namespace rkplay {

// Tells what plays: on a terminal one line that is written over several times a second, elsewhere a line
// for every begin and, while a list lasts, one every few seconds. One thread.
class Progress {
 public:
  Progress(int frameRate, size_t listCount);

  void ListBegins(size_t index, const ClipList& list);
  void FrameDelivered();
  void AwaitsTake();
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
  ULONGLONG m_framesOfList = 0;
};

}  // namespace rkplay
