#include <memory>
#include <new>

#include "base/RkCreateObject.h"
#include "base/RkMonotonicTime.h"
#include "libraries/kernel/audio/CRkAudioDirectSound.h"
#include "libraries/kernel/audio/CRkRecoveringSoundOutput.h"
#include "libraries/kernel/audio/CRkVirtualSoundOutput.h"
#include "libraries/kernel/audio/SRkAudioSystemChoice.h"
#ifndef _WIN32
#include "libraries/kernel/audio/CRkSdlSoundOutput.h"
#endif

namespace {

constexpr DWORD kRetryMs = 1000;

template <class Output>
std::unique_ptr<IRkSoundOutput> Make() {
  return std::unique_ptr<IRkSoundOutput>(new (std::nothrow) Output);
}

std::unique_ptr<IRkSoundOutput> MakeOutput(ERkAudioSystem system) {
#ifndef _WIN32
  if (system == RkAudioSystem_System) {
    return std::unique_ptr<IRkSoundOutput>(new (std::nothrow)
                                               CRkRecoveringSoundOutput(&Make<CRkSdlSoundOutput>, kRetryMs));
  }
#endif
  return system == RkAudioSystem_Virtual ? Make<CRkVirtualSoundOutput>() : nullptr;
}

}  // namespace

int RkCreateAudioDirectSound(const SRkWaveFormatInfo& format, HWND, double bufferMs, DWORD startBytes,
                             IRkAudioDirectSound** renderer) {
  auto choice = RkAudioSystemChoice().Get();
  auto output = MakeOutput(choice.system);
  if (!output) return 0;
  auto created = CRkAudioDirectSound::Create(format, bufferMs, startBytes, std::move(output),
                                             std::move(choice.monitor), &RkMonotonicNow);
  return RkHandOut(std::move(created), renderer);
}
