#pragma once

#include <vector>

#include "contracts/RkClipCore.h"

// Follows a run through a clip's trim ranges: tells the source position of each sample that the clip
// presents. Belongs to one thread at a time.
//
// While a range is current, source position = trimmed position + offset, where the offset is what the
// gaps before the range leave out. Without ranges both timelines are the same.
class CRkTrimWalk {
 public:
  using Ranges = std::vector<IRkClipTrimInfo::SRkTrimInOut>;

  CRkTrimWalk() = default;
  // `ranges` ascend, do not overlap and are not empty.
  explicit CRkTrimWalk(Ranges ranges) : m_ranges(std::move(ranges)) {}

  // Enters the range that holds the source position, or the next one after it, or the first when there
  // is none; returns the trimmed position to begin at.
  UINT Begin(UINT sourcePosition);
  // The source position of the sample at a trimmed position; samples come in order.
  UINT SourceOf(UINT trimmedPosition);
  // The clip starts over at trimmed position 0.
  void Restart();

 private:
  bool _IsLastOfItsRange(UINT sourcePosition) const;
  void _NextRange();

  Ranges m_ranges;
  size_t m_index = 0;
  UINT m_offset = 0;
};
