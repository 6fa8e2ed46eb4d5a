#include "libraries/kernel/audio/CRkAudioSystemChoice.h"

CRkAudioSystemChoice& CRkAudioSystemChoice::Instance() {
  static CRkAudioSystemChoice choice;
  return choice;
}

void RkSelectAudioSystem(ERkAudioSystem system, IRkAudioMonitor* monitor) {
  CRkAudioSystemChoice::Instance().Set({system, CRkRef<IRkAudioMonitor>::Retain(monitor)});
}
