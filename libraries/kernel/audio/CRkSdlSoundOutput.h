#pragma once

#include <SDL_audio.h>

#include "libraries/kernel/audio/IRkSoundOutput.h"

// The machine's sound card, through SDL. Its thread pulls, in periods of about 10 ms; the device stays open
// between Stop and Start and plays silence then. A device that is unplugged is lost for good.
//
// SDL counts the users of its audio without a lock, so opening and destruction take a lock of the process.
class CRkSdlSoundOutput final : public IRkSoundOutput {
 public:
  CRkSdlSoundOutput() = default;
  ~CRkSdlSoundOutput() override;

  bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) override;
  void Start() override { SDL_PauseAudioDevice(m_device, 0); }
  void Stop() override { SDL_PauseAudioDevice(m_device, 1); }
  bool IsLost() override { return SDL_GetAudioDeviceStatus(m_device) == SDL_AUDIO_STOPPED; }
  DWORD LatencyFrames() const override { return m_obtained.samples; }
  bool IsVirtual() const override { return false; }

 private:
  static void _OnPull(void* context, Uint8* data, int bytes);

  IRkSoundSource* m_source = nullptr;
  bool m_usesAudio = false;        // a use of SDL's audio that must be given back
  SDL_AudioDeviceID m_device = 0;  // 0: none is open
  SDL_AudioSpec m_obtained = {};
};
