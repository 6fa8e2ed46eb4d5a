#pragma once

#include <cstddef>

#include "contracts/RkMediaRecords.h"

// Bytes of one sample of one channel; 0 for a size that is none of the four.
constexpr size_t RkAudioSampleBytes(const SRkWaveFormatInfo& format) {
  const WORD bits = format.bitsPerSample;
  return bits == 8 || bits == 16 || bits == 24 || bits == 32 ? bits / 8u : 0u;
}

// Bytes of one sample over all channels; 0 where there is no audio.
constexpr size_t RkAudioFrameBytes(const SRkWaveFormatInfo& format) {
  return format.channels > 0 ? RkAudioSampleBytes(format) * static_cast<size_t>(format.channels) : 0u;
}
