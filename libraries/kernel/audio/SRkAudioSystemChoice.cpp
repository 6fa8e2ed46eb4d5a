#include "libraries/kernel/audio/SRkAudioSystemChoice.h"

CRkLocked<SRkAudioSystemChoice>& RkAudioSystemChoice() {
  static CRkLocked<SRkAudioSystemChoice> choice;
  return choice;
}

void RkSelectAudioSystem(ERkAudioSystem system, IRkAudioMonitor* monitor) {
  RkAudioSystemChoice().Set({system, CRkRef<IRkAudioMonitor>::Retain(monitor)});
}
