#pragma once

#include "base/CRkLockedRef.h"
#include "contracts/RkHost.h"

// What the host sets on a source channel at any time and its reader passes on: the formats and the pool to
// the elements that it opens next, the pool and the samples to the hook. Each value guards itself.
struct SRkSourceSettings {
  CRkLocked<SRkVideoResolution> video;
  CRkLocked<SRkWaveFormatInfo> audio;
  CRkLockedRef<IRkPlayBufferPool> pool;
  CRkLockedRef<IRkClipSampleProcessor> hook;
};
