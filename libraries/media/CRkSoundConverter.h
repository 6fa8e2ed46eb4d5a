#pragma once

#include <cstdint>
#include <vector>

#include "contracts/RkMediaRecords.h"
#include "libraries/media/RkAv.h"

// Scales samples of the format from silence to what they are, or the reverse.
void RkFadeSound(const SRkWaveFormatInfo& format, BYTE* data, int64_t samples, bool rising);

// Converts decoded sound into interleaved integer samples of the format. Output sample n is the sound at
// n / output rate, wherever conversion starts; so it starts only where a source and an output sample
// coincide. One thread at a time.
class CRkSoundConverter {
 public:
  static constexpr int kMaxChannels = 64;  // that the library converts

  explicit CRkSoundConverter(const SRkWaveFormatInfo& format) : m_format(format) {}

  // Damaged headers may claim rates whose conversion would exhaust memory.
  static bool TakesRate(int rate);
  // Prepares a new conversion of sound like the frame's. False when it cannot be converted.
  bool Begin(const AVFrame& like);
  // Continues with sound of another kind at the same rate.
  bool GoOnWith(const AVFrame& like);
  bool IsLike(const AVFrame& frame) const;

  int SourceRate() const { return m_sourceRate; }
  // Source samples between two places where conversion can start.
  int64_t SourceStep() const { return m_sourceStep; }
  int64_t OutputStep() const { return m_outputStep; }

  // Each appends the converted samples to `output`. On failure returns false and appends nothing.
  bool Convert(const AVFrame& frame, int64_t skipSamples, std::vector<BYTE>* output);
  bool ConvertSilence(int64_t samples, std::vector<BYTE>* output);
  bool Flush(std::vector<BYTE>* output);

 private:
  bool _MakeSilence();
  bool _Feed(const uint8_t** data, int samples, std::vector<BYTE>* output);

  const SRkWaveFormatInfo m_format;
  CRkAv<SwrContext> m_resampler;
  CRkAv<AVFrame> m_like{av_frame_alloc()};  // the kind of sound, without any
  CRkAv<AVFrame> m_silence;
  std::vector<uint8_t> m_wide;  // 24-bit sound comes from the library as 32-bit
  int m_sourceRate = 0;
  int64_t m_sourceStep = 1;
  int64_t m_outputStep = 1;
};
