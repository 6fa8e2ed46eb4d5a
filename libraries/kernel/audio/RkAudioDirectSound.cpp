#include <memory>
#include <new>

#include "base/RkCreateObject.h"
#include "base/RkMonotonicTime.h"
#include "libraries/kernel/audio/CRkAudioDirectSound.h"
#include "libraries/kernel/audio/CRkRecoveringSoundOutput.h"
#include "libraries/kernel/audio/CRkVirtualSoundOutput.h"
#include "libraries/kernel/audio/SRkAudioSystemChoice.h"
#ifdef _WIN32
#include "libraries/kernel/audio/windows/CRkDirectSoundOutput.h"
#else
#include "libraries/kernel/audio/CRkSdlSoundOutput.h"
#endif

namespace {

constexpr DWORD kRetryMs = 1000;

template <class Output, class... Arguments>
std::unique_ptr<IRkSoundOutput> Make(Arguments... arguments) {
  try {
    return std::make_unique<Output>(arguments...);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// DirectSound plays on behalf of a window; SDL needs none.
std::unique_ptr<IRkSoundOutput> MakeCard([[maybe_unused]] HWND window) {
#ifdef _WIN32
  return Make<CRkDirectSoundOutput>(window);
#else
  return Make<CRkSdlSoundOutput>();
#endif
}

std::unique_ptr<IRkSoundOutput> MakeOutput(ERkAudioSystem system, HWND window, double writtenAheadMs) {
  if (system == RkAudioSystem_System) {
    return Make<CRkRecoveringSoundOutput>([window] { return MakeCard(window); }, kRetryMs);
  }
  if (system == RkAudioSystem_Virtual) return Make<CRkVirtualSoundOutput>(writtenAheadMs);
  return nullptr;
}

}  // namespace

int RkCreateAudioDirectSound(const SRkWaveFormatInfo& format, HWND window, double bufferMs, DWORD startBytes,
                             IRkAudioDirectSound** renderer) {
  auto choice = RkAudioSystemChoice().Get();
  const double writtenAheadMs = format.bytesPerSecond > 0 ? 1000.0 * startBytes / format.bytesPerSecond : 0.0;
  auto output = MakeOutput(choice.system, window, writtenAheadMs);
  if (!output) return 0;
  auto created = CRkAudioDirectSound::Create(format, bufferMs, startBytes, std::move(output),
                                             std::move(choice.monitor), &RkMonotonicNow);
  return RkHandOut(std::move(created), renderer);
}
