#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"
#include "rkplay/files/WavWriter.h"
#include "rkplay/monitor/PresentationMeter.h"

namespace rkplay {

// Listens to the audio renderer of the output device: knows where it stands and, if asked to, writes what
// is heard to a file. The silence that follows the last frame of a run is left out of that.
//
// The sound system's thread enters OnSound, the device's threads and the host's the rest. The lock guards
// everything; the renderer is asked without it. A file holds up the sound system while it is written, which
// the virtual card, the only one that comes with a file, does not mind.
class SoundTap final : public CRkUnknown<IRkAudioMonitor> {
 public:
  // `format` is what the device plays. path may be empty: nothing is written. Throws UsageError.
  SoundTap(const std::string& path, const SRkWaveFormatInfo& format);

  // Nothing while there is no renderer.
  std::optional<double> PositionMs() const;
  double SpanMs() const;
  bool HasRenderer() const;
  // Whether the sound system takes nothing at the moment.
  bool IsLost() const;
  // Adds the renderer's counts, which last until Close.
  void AddTo(Presentation& seen) const;
  void RunBegins();
  // The device has written a frame of sound, or of silence of its own.
  void SoundWritten(DWORD bytes, bool isSilence);
  // When the device has gone: lets the renderer go, completes the file, adds what went wrong.
  void Close(std::vector<std::string>& errors);

  void OnRenderer(IRkAudioDirectSound* renderer, const SRkWaveFormatInfo& format) override;
  void OnSound(const BYTE* data, DWORD bytes) override;

 private:
  ~SoundTap() override = default;

  CRkRef<IRkAudioDirectSound> _Renderer() const;

  void _WriteHeard() RK_REQUIRES(m_lock);

  const DWORD m_blockAlign;
  mutable CRkCriticalSection m_lock;
  CRkRef<IRkAudioDirectSound> m_renderer RK_GUARDED_BY(m_lock);
  std::optional<WavWriter> m_file RK_GUARDED_BY(m_lock);
  // Bytes of the run: written by the device, up to the end of its last frame of sound, heard.
  ULONGLONG m_written RK_GUARDED_BY(m_lock) = 0;
  ULONGLONG m_soundEnd RK_GUARDED_BY(m_lock) = 0;
  ULONGLONG m_heard RK_GUARDED_BY(m_lock) = 0;
  std::vector<BYTE> m_beyond RK_GUARDED_BY(m_lock);  // heard; not yet known to be followed by sound
};

}  // namespace rkplay
