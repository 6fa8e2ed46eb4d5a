#pragma once

#include <cstddef>

#include "contracts/RkMediaRecords.h"

inline constexpr UINT kRkIntegerSamples = 1;  // a wave format's formatType

// Bytes of one sample of one channel; 0 for a size other than 8, 16, 24 and 32 bits.
constexpr size_t RkSampleBytes(const SRkWaveFormatInfo& format) {
  const WORD bits = format.bitsPerSample;
  return bits == 8 || bits == 16 || bits == 24 || bits == 32 ? bits / 8u : 0u;
}

// Bytes of one sample over all channels, from `channels` and `bitsPerSample`; 0 where there is no audio.
constexpr size_t RkFrameBytes(const SRkWaveFormatInfo& format) {
  return format.channels > 0 ? RkSampleBytes(format) * static_cast<size_t>(format.channels) : 0u;
}

// Whether there is audio of a known sample size and `blockAlign` agrees with it.
constexpr bool RkIsWholeFormat(const SRkWaveFormatInfo& format) {
  return RkFrameBytes(format) != 0 && RkFrameBytes(format) == format.blockAlign;
}

// Whether samples of both formats may stand in one buffer. The derived fields are not compared.
constexpr bool RkIsSameFormat(const SRkWaveFormatInfo& a, const SRkWaveFormatInfo& b) {
  return a.channels == b.channels && a.bitsPerSample == b.bitsPerSample &&
         a.samplesPerSecond == b.samplesPerSecond;
}

// The byte that silence consists of: 8-bit samples are unsigned.
constexpr BYTE RkSilentByte(const SRkWaveFormatInfo& format) {
  return format.bitsPerSample == 8 ? 0x80 : 0;
}
