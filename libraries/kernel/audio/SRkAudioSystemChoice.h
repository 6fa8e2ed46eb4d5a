#pragma once

#include "base/CRkLockedRef.h"
#include "contracts/RkKernel.h"

// The sound system that new renderers play through, and the monitor that follows them.
struct SRkAudioSystemChoice {
  ERkAudioSystem system = RkAudioSystem_System;
  CRkRef<IRkAudioMonitor> monitor;
};

// The choice of the process. Any thread may enter.
CRkLocked<SRkAudioSystemChoice>& RkAudioSystemChoice();
