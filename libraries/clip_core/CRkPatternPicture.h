#pragma once

#include "base/CRkRef.h"
#include "contracts/RkHost.h"
#include "contracts/RkMediaRecords.h"
#include "contracts/RkPictureLayout.h"

class IRkVideoSample;

// Draws the pattern's pictures: the bars once, when it is prepared; then each picture is a copy of them
// with its number stamped on. One thread at a time.
class CRkPatternPicture {
 public:
  // Sizes from 16 x 16 on, the three planar formats.
  static bool IsSupported(const SRkVideoResolution& video);

  // False when there is no memory.
  bool Prepare(const SRkVideoResolution& video);

  // Memory comes from the pool (may be null). False when there is none.
  bool Draw(UINT number, IRkPlayBufferPool* pool, IRkVideoSample* picture) const;

 private:
  void _DrawPlane(UINT plane) const;
  void _StampNumber(UINT number, BYTE* luma) const;

  SRkVideoResolution m_video = {};
  CRkRef<IRkPlayBuffer> m_bars[kRkPlaneCount];
};
