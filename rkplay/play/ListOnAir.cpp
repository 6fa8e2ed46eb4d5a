#include "rkplay/play/ListOnAir.h"

#include <algorithm>

#include "rkplay/clips/FrameFault.h"

namespace rkplay {

ListOnAir::ListOnAir(size_t index, const ClipList& list, ListResult& result, Clock::time_point since)
    : m_index(index),
      m_list(list),
      m_result(result),
      m_since(since),
      m_position(list.startFrame),
      m_due(list.startFrame),
      m_repeats(list.repeatCount == kRkRepeatEndless) {}

void ListOnAir::Deliver(IRkAVPlaySample& sample, ULONGLONG programmeFrame, Clock::time_point now) {
  if (!m_result.firstSampleWaitMs) {
    m_result.firstSampleWaitMs = std::chrono::duration<double, std::milli>(now - m_since).count();
  }
  const UINT position = sample.GetPosition();
  _CheckDue(position);
  _CountFault(sample, programmeFrame);
  m_position = position;
  m_due = m_list.PositionAfter(position);
  ++m_result.deliveredFrames;
}

void ListOnAir::_CheckDue(UINT position) {
  if (position == m_due || !m_gap.empty()) return;
  m_gap = "frame " + std::to_string(position) + " came where " + std::to_string(m_due) + " was due";
}

void ListOnAir::_CountFault(IRkAVPlaySample& sample, ULONGLONG programmeFrame) {
  const auto fault = FrameFault::Of(sample);
  if (!fault) return;
  const auto known = std::find_if(
      m_result.faults.begin(), m_result.faults.end(),
      [&](const ClipFault& other) { return other.clip == fault->clip && other.reason == fault->reason; });
  if (known != m_result.faults.end()) {
    ++known->frames;
  } else {
    m_result.faults.push_back({fault->clip, fault->reason, programmeFrame, 1});
  }
}

bool ListOnAir::SetEnded(bool hasEnded, Clock::time_point now) {
  const bool isNew = hasEnded && !m_hasEnded;
  m_hasEnded = hasEnded;
  if (isNew) m_endedSince = now;
  return isNew;
}

void ListOnAir::Hold(UINT position, bool moved) {
  m_isMovedWhilePaused = m_isMovedWhilePaused || moved;
  m_position = position;
}

void ListOnAir::GoOnFrom(UINT position) {
  m_wasMoved = m_wasMoved || position != m_due || m_hasEnded;
  m_position = m_due = position;
  m_hasEnded = false;
  m_isMovedWhilePaused = false;
}

int ListOnAir::ToggleRepeat() {
  m_repeats = !m_repeats;
  m_wasMoved = true;
  return m_repeats ? kRkRepeatEndless : std::max(m_list.repeatCount, 1);
}

void ListOnAir::End(ListOutcome cut, std::vector<std::string>& errors) {
  const std::string name = "list " + std::to_string(m_index + 1) + ": ";
  const bool isCutShort = cut == ListOutcome::Played && !_IsWhole() && !m_list.HasLiveEnd();
  if (!m_gap.empty()) errors.push_back(name + m_list.title + ": " + m_gap);
  if (isCutShort) {
    errors.push_back(
        name + m_list.title + ": ended after " + std::to_string(m_result.deliveredFrames) + " of " +
        (m_result.announcedFrames ? std::to_string(*m_result.announcedFrames) : "endless") + " frames");
  }
  for (const ClipFault& fault : m_result.faults) errors.push_back(name + m_result.Describe(fault));
  if (isCutShort || !m_gap.empty()) {
    m_result.outcome = ListOutcome::Failed;
  } else if (cut == ListOutcome::Played || (cut != ListOutcome::Failed && _IsWhole() && !m_wasMoved)) {
    m_result.outcome = m_result.faults.empty() ? ListOutcome::Played : ListOutcome::Damaged;
  } else {
    m_result.outcome = cut;
  }
}

}  // namespace rkplay
