#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/RkWithinMemory.h"
#include "contracts/RkClipCore.h"

// A frame of an element's source, and the first of those that are presented in one row with it.
struct SRkPresentedFrame {
  UINT source = 0;
  UINT rowStart = 0;
};

// What a clip element shows of its source, and where: its mode, its trim information, the offsets that
// are left, and its start on the list's timeline.
//
// Any thread may enter. The object's own lock guards every field; no other object is called under it,
// but for counting a reference up. The trim ranges are copied when they are set, cut to the source.
class CRkClipPresentation {
 public:
  explicit CRkClipPresentation(UINT sourceFrameCount)
      : m_sourceFrameCount(sourceFrameCount), m_runs(_Whole()), m_presentedCount(sourceFrameCount) {}

  // `changed` may be null.
  void SetMode(UINT mode, BOOL* changed) {
    CRkScopedLock lock(m_lock);
    const UINT previous = std::exchange(m_mode, mode);
    if (changed != nullptr) *changed = previous != mode;
  }
  UINT GetMode() const {
    CRkScopedLock lock(m_lock);
    return m_mode;
  }

  void SetTimelineStart(UINT position) {
    CRkScopedLock lock(m_lock);
    m_timelineStart = position;
  }
  UINT GetTimelineStart() const {
    CRkScopedLock lock(m_lock);
    return m_timelineStart;
  }

  // Null, or information without ranges, presents the whole source. Without memory nothing changes.
  void SetTrimInfo(IRkClipTrimInfo* info) {
    std::vector<SRkRun> runs;
    if (!RkWithinMemory([&] { runs = _RunsOf(info); })) return;
    const UINT count = runs.empty() ? 0 : runs.back().firstOffset + runs.back().count;
    CRkRef<IRkClipTrimInfo> held = CRkRef<IRkClipTrimInfo>::Retain(info);
    CRkScopedLock lock(m_lock);
    std::swap(m_trimInfo, held);  // what was held is released after the lock
    m_runs = std::move(runs);
    m_presentedCount = count;
  }
  // Null when there is none.
  void GetTrimInfo(IRkClipTrimInfo** info) const {
    CRkScopedLock lock(m_lock);
    m_trimInfo.CopyTo(info);
  }

  UINT PresentedCount() const {
    CRkScopedLock lock(m_lock);
    return m_presentedCount;
  }

  // The frame that is presented at the offset; false at or past the presented count.
  bool FrameAt(UINT offset, SRkPresentedFrame* frame) const {
    CRkScopedLock lock(m_lock);
    if (offset >= m_presentedCount) return false;
    const auto after = std::upper_bound(m_runs.begin(), m_runs.end(), offset,
                                        [](UINT at, const SRkRun& run) { return at < run.firstOffset; });
    const SRkRun& run = *std::prev(after);
    *frame = {run.firstSource + (offset - run.firstOffset), run.firstSource};
    return true;
  }

  // The position that the sample at the offset carries.
  UINT PositionOf(UINT offset) const { return GetTimelineStart() + offset; }

  // The position of the last sample; kRkNoPosition when nothing is presented.
  UINT LastPosition() const {
    CRkScopedLock lock(m_lock);
    return m_presentedCount == 0 ? kRkNoPosition : m_timelineStart + m_presentedCount - 1;
  }

 private:
  // Source frames that are presented one after the other.
  struct SRkRun {
    UINT firstOffset;
    UINT firstSource;
    UINT count;
  };

  std::vector<SRkRun> _Whole() const {
    if (m_sourceFrameCount == 0) return {};
    return {{0, 0, m_sourceFrameCount}};
  }

  std::vector<SRkRun> _RunsOf(IRkClipTrimInfo* info) const {
    std::vector<IRkClipTrimInfo::SRkTrimInOut> ranges;
    if (info != nullptr) info->GetTrimInOuts(ranges);
    if (ranges.empty()) return _Whole();
    std::vector<SRkRun> runs;
    UINT offset = 0;
    ULONGLONG previousOut = 0;
    for (const auto& range : ranges) {
      // A host's own trim information may overlap: no source frame is ever presented twice.
      const ULONGLONG in = std::max(range.in, previousOut);
      const ULONGLONG out = std::min<ULONGLONG>(range.out, m_sourceFrameCount);
      if (in >= out) continue;
      runs.push_back({offset, static_cast<UINT>(in), static_cast<UINT>(out - in)});
      offset += runs.back().count;
      previousOut = out;
    }
    return runs;
  }

  const UINT m_sourceFrameCount;
  mutable CRkCriticalSection m_lock;
  UINT m_mode RK_GUARDED_BY(m_lock) = 0;
  UINT m_timelineStart RK_GUARDED_BY(m_lock) = 0;
  CRkRef<IRkClipTrimInfo> m_trimInfo RK_GUARDED_BY(m_lock);
  std::vector<SRkRun> m_runs RK_GUARDED_BY(m_lock);
  UINT m_presentedCount RK_GUARDED_BY(m_lock);
};
