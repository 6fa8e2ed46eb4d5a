#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/RkWithinMemory.h"
#include "contracts/RkClipCore.h"

// A presented frame of an element's source, and the first frame of the unbroken row that it belongs to.
struct SRkPresentedFrame {
  UINT source = 0;
  UINT rowStart = 0;
};

// The part of its source that a clip element presents, and the setting that the host chooses for it.
//
// Any thread may enter. The lock guards every field; under it nothing is called but AddRef of the trim
// information, of which the object owns one reference. The ranges are copied when they are set, and cut
// to the source.
class CRkClipPresentation {
 public:
  explicit CRkClipPresentation(UINT sourceFrameCount)
      : m_sourceFrameCount(sourceFrameCount), m_rows(_Whole()), m_presentedCount(sourceFrameCount) {}

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

  // Null, and information without ranges, presents the whole source. Nothing changes without memory.
  void SetTrimInfo(IRkClipTrimInfo* info) {
    std::vector<SRow> rows;
    if (!RkWithinMemory([&] { rows = _RowsOf(info); })) return;
    const UINT count = rows.empty() ? 0 : rows.back().firstOffset + rows.back().count;
    CRkRef<IRkClipTrimInfo> held = CRkRef<IRkClipTrimInfo>::Retain(info);
    CRkScopedLock lock(m_lock);
    std::swap(m_trimInfo, held);  // releases the old one after the lock
    m_rows = std::move(rows);
    m_presentedCount = count;
  }
  // Gives null when there is none.
  void GetTrimInfo(IRkClipTrimInfo** info) const {
    CRkScopedLock lock(m_lock);
    m_trimInfo.CopyTo(info);
  }

  UINT PresentedCount() const {
    CRkScopedLock lock(m_lock);
    return m_presentedCount;
  }

  // Finds the frame that is presented at the offset. False at or past the presented count.
  bool FrameAt(UINT offset, SRkPresentedFrame* frame) const {
    CRkScopedLock lock(m_lock);
    if (offset >= m_presentedCount) return false;
    const auto after = std::upper_bound(m_rows.begin(), m_rows.end(), offset,
                                        [](UINT at, const SRow& row) { return at < row.firstOffset; });
    const SRow& row = *std::prev(after);
    *frame = {row.firstSource + (offset - row.firstOffset), row.firstSource};
    return true;
  }

 private:
  // Consecutive source frames.
  struct SRow {
    UINT firstOffset;
    UINT firstSource;
    UINT count;
  };

  std::vector<SRow> _Whole() const {
    if (m_sourceFrameCount == 0) return {};
    return {{0, 0, m_sourceFrameCount}};
  }

  std::vector<SRow> _RowsOf(IRkClipTrimInfo* info) const {
    IRkClipTrimInfo::Ranges ranges;
    if (info != nullptr) info->GetTrimInOuts(ranges);
    if (ranges.empty()) return _Whole();
    std::vector<SRow> rows;
    UINT offset = 0;
    ULONGLONG previousOut = 0;
    for (const auto& range : ranges) {
      // The ranges of a host's own trim information may overlap; no source frame is presented twice.
      const ULONGLONG in = std::max(range.in, previousOut);
      const ULONGLONG out = std::min<ULONGLONG>(range.out, m_sourceFrameCount);
      if (in >= out) continue;
      rows.push_back({offset, static_cast<UINT>(in), static_cast<UINT>(out - in)});
      offset += rows.back().count;
      previousOut = out;
    }
    return rows;
  }

  const UINT m_sourceFrameCount;
  mutable CRkCriticalSection m_lock;
  UINT m_mode RK_GUARDED_BY(m_lock) = 0;
  CRkRef<IRkClipTrimInfo> m_trimInfo RK_GUARDED_BY(m_lock);
  std::vector<SRow> m_rows RK_GUARDED_BY(m_lock);
  UINT m_presentedCount RK_GUARDED_BY(m_lock);
};
