#include "contracts/RkKernel.h"

// No sound system is built in yet: there is nothing to create a renderer on, and a device that asks for
// one shows pictures only.
int RkCreateAudioDirectSound(const SRkWaveFormatInfo&, HWND, double, DWORD, IRkAudioDirectSound**) {
  return 0;
}
