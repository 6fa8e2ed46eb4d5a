#pragma once

#include <cstdint>
#include <vector>

#include "contracts/RkTypes.h"
#include "libraries/media/RkAv.h"

// When the pictures of a stream are shown. Pictures are named by their place in that order, from 0; the
// first one is shown at time 0. All arithmetic is in whole numbers, so nothing drifts.
//
// A stream of a constant rate is described by the rate and the count: its timestamps, which containers
// round, only say which picture is which. Any other stream keeps the time of every picture.
class CRkPictureTimeline {
 public:
  CRkPictureTimeline() = default;

  static CRkPictureTimeline Constant(AVRational timeBase, int64_t origin, AVRational rate, UINT count);
  // A stream whose pictures carry no times: one is known from the next by counting alone.
  static CRkPictureTimeline Counted(AVRational timeBase, int64_t origin, AVRational rate, UINT count);
  // `times` ascend and are not empty; the last picture lasts until `end`.
  static CRkPictureTimeline Variable(AVRational timeBase, std::vector<int64_t> times, int64_t end);

  bool HasTimes() const { return !m_counted; }
  AVRational TimeBase() const { return m_timeBase; }
  int64_t Origin() const { return m_origin; }
  // Of a constant stream; 0/1 otherwise.
  AVRational Rate() const { return m_rate; }

  // Frames of an output rate from the first picture to the end of the last.
  UINT FrameCount(AVRational outputRate) const;
  // The picture shown at the time of an output frame.
  int64_t PictureAt(UINT frame, AVRational outputRate) const;
  // The picture with the timestamp, or the one before it; below 0 for times before the first.
  int64_t PictureOf(int64_t timestamp) const;
  int64_t TimestampOf(int64_t picture) const;

 private:
  AVRational m_timeBase{0, 1};
  int64_t m_origin = 0;
  AVRational m_rate{0, 1};
  UINT m_count = 0;
  bool m_counted = false;
  std::vector<int64_t> m_times;
  int64_t m_end = 0;
};

// Frames of the rate in a span of ticks, the last one perhaps in part. A tick is rounded by up to a half,
// which must not make a frame of its own.
UINT RkFramesInTicks(int64_t ticks, AVRational timeBase, AVRational outputRate);
