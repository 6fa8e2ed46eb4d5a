#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "contracts/RkKernel.h"
#include "rkplay/clips/ClipList.h"
#include "rkplay/play/Statistics.h"

namespace rkplay {

// Follows the list on air: which of its frames is due, what has been delivered, and how it ends. The player
// makes one for every list and uses it on its own thread; the list and the result are borrowed.
class ListOnAir {
 public:
  using Clock = std::chrono::steady_clock;

  // `since`: when its first frame began to be waited for.
  ListOnAir(size_t index, const ClipList& list, ListResult& result, Clock::time_point since);

  size_t Index() const { return m_index; }
  const ClipList& List() const { return m_list; }
  UINT Position() const { return m_position; }  // of the frame delivered or shown last
  UINT DuePosition() const { return m_due; }
  bool Repeats() const { return m_repeats; }
  // The end of its last pass has been delivered: no frame may be taken before the switch.
  bool HasEnded() const { return m_hasEnded; }
  Clock::time_point EndedSince() const { return m_endedSince; }
  // A key has moved it to a frame that is shown and has not been played.
  bool IsMovedWhilePaused() const { return m_isMovedWhilePaused; }

  // `programmeFrame`: its number on air, counted over all lists.
  void Deliver(IRkAVPlaySample& sample, ULONGLONG programmeFrame, Clock::time_point now);
  // True when it has just ended.
  bool SetEnded(bool hasEnded, Clock::time_point now);
  void Hold(UINT position, bool moved);
  // The next frame is the one at the position.
  void GoOnFrom(UINT position);
  // Without end, or with the count that it was cued with; returns the repeat count.
  int ToggleRepeat();
  // `cut`: how it ends unless every frame of its length has been delivered. Adds what went wrong.
  void End(ListOutcome cut, std::vector<std::string>& errors);

 private:
  void _CheckDue(UINT position);
  void _CountFault(IRkAVPlaySample& sample, ULONGLONG programmeFrame);
  bool _IsWhole() const { return m_result.deliveredFrames == m_result.announcedFrames || m_wasMoved; }

  const size_t m_index;
  const ClipList& m_list;
  ListResult& m_result;
  const Clock::time_point m_since;
  UINT m_position;
  UINT m_due;
  bool m_hasEnded = false;
  Clock::time_point m_endedSince;
  bool m_repeats;
  bool m_wasMoved = false;  // by keys, so that its length says nothing any longer
  bool m_isMovedWhilePaused = false;
  std::string m_gap;  // the first frame that came where another was due
};

}  // namespace rkplay
