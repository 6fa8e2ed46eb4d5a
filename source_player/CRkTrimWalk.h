#pragma once

#include "contracts/RkClipCore.h"

// Follows a run through a clip's trim ranges, and maps the position of each sample on the trimmed timeline to
// its source position. Used by one thread at a time.
//
// Inside a range, source position = trimmed position + offset; the offset is the length of all gaps before
// the range. Without ranges both timelines are the same.
class CRkTrimWalk {
 public:
  using Ranges = IRkClipTrimInfo::Ranges;

  CRkTrimWalk() = default;
  // The ranges ascend without overlap, and none is empty.
  explicit CRkTrimWalk(Ranges ranges) : m_ranges(std::move(ranges)) {}

  // Enters the range that holds the source position, else the next range, else the first. Returns the
  // trimmed position to begin at.
  UINT Begin(UINT sourcePosition);
  // Returns the source position of the next sample, which is at the trimmed position.
  UINT SourceOf(UINT trimmedPosition);
  // The next sample is the one at trimmed position 0.
  void Restart();

 private:
  bool _IsLastOfItsRange(UINT sourcePosition) const;
  void _NextRange();

  Ranges m_ranges;
  size_t m_index = 0;
  UINT m_offset = 0;
};
