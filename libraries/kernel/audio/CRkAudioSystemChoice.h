#pragma once

#include <utility>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "contracts/RkKernel.h"

// Which sound system new renderers play through, and who hears them. Any thread may enter. m_lock guards
// both fields; no reference is let go of under it, for that may run the monitor's own code.
class CRkAudioSystemChoice {
 public:
  struct SChoice {
    ERkAudioSystem system = RkAudioSystem_System;
    CRkRef<IRkAudioMonitor> monitor;
  };

  // The one of the process.
  static CRkAudioSystemChoice& Instance();

  void Set(SChoice choice) {
    CRkScopedLock lock(m_lock);
    std::swap(m_choice, choice);
  }

  SChoice Get() {
    CRkScopedLock lock(m_lock);
    return m_choice;
  }

 private:
  CRkCriticalSection m_lock;
  SChoice m_choice RK_GUARDED_BY(m_lock);
};
