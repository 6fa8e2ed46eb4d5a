#pragma once

#include <cstdint>
#include <vector>

#include "libraries/media/RkAv.h"

// A picture of a stream as its packet states it, in file order.
struct SRkStoredPicture {
  int64_t pts;
  int64_t dts;
  int64_t duration;
  int64_t position;  // in bytes, of the packet in the file; -1 where it is not known
  bool isKey;
};

// The places where a file's timestamps jump: a recording that was joined from several, or one whose clock
// was set. Every stretch between two jumps is shifted so that it follows the one before it, and the file
// becomes one continuous timeline. Unchanged once found; any thread may read it.
class CRkSplices {
 public:
  // Finds the jumps. False, and nothing to shift, where there is none.
  bool Find(const std::vector<SRkStoredPicture>& pictures, AVRational timeBase, AVRational frameRate);

  // What is added to a timestamp of the packet at the position. Streams change over near the position, not
  // exactly there: where the timestamp fits the neighbouring stretch only, that one counts.
  int64_t ShiftOf(int64_t timestamp, int64_t position, AVRational timeBase) const;
  // The position of the last key picture at or before a shifted timestamp; of the first one at least.
  int64_t PositionBefore(int64_t timestamp, AVRational timeBase) const;

 private:
  struct SRkStretch {
    int64_t position;
    int64_t first;  // timestamps, as stored
    int64_t end;
    int64_t shift;
  };
  struct SRkKeyPicture {
    int64_t timestamp;  // shifted
    int64_t position;
  };

  bool _Fits(const SRkStretch& stretch, int64_t timestamp) const;

  AVRational m_timeBase{1, 1};
  std::vector<SRkStretch> m_stretches;
  std::vector<SRkKeyPicture> m_keys;
};
