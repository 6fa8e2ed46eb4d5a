#include "libraries/kernel/audio/CRkSdlSoundOutput.h"

#include <SDL.h>

#include <bit>

#include "base/CRkCriticalSection.h"

namespace {

constexpr DWORD kPeriodsPerSecond = 100;
constexpr DWORD kMostFramesPerSecond = 768'000;
constexpr int kMostChannels = 8;

CRkCriticalSection& AudioUse() {
  static CRkCriticalSection section;
  return section;
}

// 0 for what SDL has no name for.
SDL_AudioFormat SampleFormat(const SRkWaveFormatInfo& format) {
  switch (format.bitsPerSample) {
    case 8:
      return AUDIO_U8;
    case 16:
      return AUDIO_S16LSB;
    case 32:
      return AUDIO_S32LSB;
    default:
      return 0;
  }
}

}  // namespace

CRkSdlSoundOutput::~CRkSdlSoundOutput() {
  CRkScopedLock lock(AudioUse());
  if (m_device != 0) SDL_CloseAudioDevice(m_device);
  if (m_usesAudio) SDL_QuitSubSystem(SDL_INIT_AUDIO);
}

bool CRkSdlSoundOutput::Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) {
  m_source = &source;
  SDL_AudioSpec asked = {};
  asked.format = SampleFormat(format);
  if (asked.format == 0 || format.channels > kMostChannels) return false;
  if (format.samplesPerSecond > kMostFramesPerSecond) return false;
  asked.freq = static_cast<int>(format.samplesPerSecond);
  asked.channels = static_cast<Uint8>(format.channels);
  asked.samples = static_cast<Uint16>(std::bit_ceil(format.samplesPerSecond / kPeriodsPerSecond));
  asked.callback = &_OnPull;
  asked.userdata = this;

  CRkScopedLock lock(AudioUse());
  // The signals of the process belong to its host.
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) return false;
  m_usesAudio = true;
  // Whatever the card wants, we deliver the format asked for; only the period may be the card's own.
  m_device = SDL_OpenAudioDevice(nullptr, 0, &asked, &m_obtained, SDL_AUDIO_ALLOW_SAMPLES_CHANGE);
  return m_device != 0;
}

// SDL keeps pulling for an unplugged device; that sound must not be taken from the source.
void CRkSdlSoundOutput::_OnPull(void* context, Uint8* data, int bytes) {
  auto& self = *static_cast<CRkSdlSoundOutput*>(context);
  if (self.IsLost()) {
    SDL_memset(data, self.m_obtained.silence, static_cast<size_t>(bytes));
  } else {
    self.m_source->Pull(data, static_cast<DWORD>(bytes));
  }
}
