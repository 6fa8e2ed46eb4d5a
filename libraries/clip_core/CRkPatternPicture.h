#pragma once

#include "base/CRkRef.h"
#include "contracts/RkHost.h"
#include "contracts/RkMediaRecords.h"
#include "contracts/RkPictureLayout.h"

class IRkVideoSample;

// Draws the pattern's pictures. Prepare draws the bars once; each picture is a copy of them with its number
// stamped on. Owns the memory of the bars. Used by one thread at a time.
class CRkPatternPicture {
 public:
  // Whether the size is at least 16 x 16 and the format is one of the three planar ones.
  static bool IsSupported(const SRkVideoResolution& video);

  // False without memory.
  bool Prepare(const SRkVideoResolution& video);

  // Takes the planes' memory from the pool, which may be null. False without memory.
  bool Draw(UINT number, IRkPlayBufferPool* pool, IRkVideoSample* picture) const;

 private:
  void _DrawPlane(UINT plane) const;
  void _StampNumber(UINT number, BYTE* luma) const;

  SRkVideoResolution m_video = {};
  CRkRef<IRkPlayBuffer> m_bars[kRkPlaneCount];
};
