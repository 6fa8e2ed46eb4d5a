#pragma once

#include <cstddef>

#include "contracts/RkTypes.h"

// The records that travel between host, module and kernel libraries. Their layout is part of the binary
// interface: little-endian, naturally aligned, without gaps. They are copied whole, never kept by address.

// Indexes kRkFrameRates.
enum ERkFrameRate : int {
  RkFrameRate_23_976 = 0,
  RkFrameRate_24 = 1,
  RkFrameRate_25 = 2,
  RkFrameRate_29_97 = 3,
  RkFrameRate_30 = 4,
  RkFrameRate_50 = 5,
  RkFrameRate_59_94 = 6,
  RkFrameRate_60 = 7,
};

struct SRkFrameRateFraction {
  UINT numerator;
  UINT denominator;
};

inline constexpr SRkFrameRateFraction kRkFrameRates[] = {
    {24000, 1001}, {24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {50, 1}, {60000, 1001}, {60, 1},
};
inline constexpr int kRkFrameRateCount = static_cast<int>(sizeof(kRkFrameRates) / sizeof(kRkFrameRates[0]));

constexpr bool RkIsFrameRate(int rate) {
  return rate >= 0 && rate < kRkFrameRateCount;
}

// Both want a rate inside the table.
constexpr double RkFramesPerSecond(int rate) {
  return static_cast<double>(kRkFrameRates[rate].numerator) / kRkFrameRates[rate].denominator;
}
constexpr double RkFrameDurationMs(int rate) {
  return kRkFrameRates[rate].denominator * 1000.0 / kRkFrameRates[rate].numerator;
}

// The module carries these unchanged; hosts and clip elements agree on their values.
enum ERkPixelFormat : int { RkPixelFormat_I420 = 0, RkPixelFormat_I422 = 1, RkPixelFormat_I444 = 2 };
enum ERkColorRange : int { RkColorRange_Limited = 0, RkColorRange_Full = 1 };

// A video format. The module reads nothing but `frameRate`.
struct SRkVideoResolution {
  int width;
  int height;
  int pixelFormat;      // an ERkPixelFormat
  int scanMode;         // 0 = progressive, the only one our elements deliver
  int frameRate;        // an ERkFrameRate
  int aspectNumerator;  // shape of one pixel; 0:0 means unknown
  int aspectDenominator;
  int colorRange;  // an ERkColorRange
  int reserved;    // 0
};

// An audio format. Derived fields follow from the others: see RkMakeWaveFormat.
struct SRkWaveFormatInfo {
  int channels;     // 0 or less: there is no audio
  UINT formatType;  // 1: integer samples, interleaved; 8 bits unsigned, wider ones signed
  DWORD samplesPerSecond;
  DWORD bytesPerSecond;  // samplesPerSecond x blockAlign
  WORD bitsPerSample;
  WORD blockAlign;  // bytes of one sample over all channels
};

constexpr SRkWaveFormatInfo RkMakeWaveFormat(int channels, DWORD samplesPerSecond, WORD bitsPerSample) {
  const WORD blockAlign = static_cast<WORD>((bitsPerSample / 8) * channels);
  return {channels, 1, samplesPerSecond, samplesPerSecond * blockAlign, bitsPerSample, blockAlign};
}

// The pair that a clip element is opened with.
struct SRkClipFormat {
  SRkWaveFormatInfo audio;
  SRkVideoResolution video;
};

// Access to a locked audio buffer.
struct SRkLockAudioSample {
  BYTE* data;
  DWORD capacity;     // samples per channel that the buffer has room for
  DWORD sampleCount;  // valid samples per channel
};

struct SRkAudioSampleInfo {
  SRkWaveFormatInfo format;
  DWORD dataLength;  // bytes
};

// The share of one source channel in a stereo mix, in thousandths: 1000 = full level, 0 = silence.
struct SRkAudioMixParam {
  int leftGain;
  int rightGain;
};

static_assert(sizeof(ERkFrameRate) == 4 && kRkFrameRateCount == 8);
static_assert(sizeof(SRkVideoResolution) == 36);
static_assert(offsetof(SRkVideoResolution, width) == 0);
static_assert(offsetof(SRkVideoResolution, height) == 4);
static_assert(offsetof(SRkVideoResolution, pixelFormat) == 8);
static_assert(offsetof(SRkVideoResolution, scanMode) == 12);
static_assert(offsetof(SRkVideoResolution, frameRate) == 16);
static_assert(offsetof(SRkVideoResolution, aspectNumerator) == 20);
static_assert(offsetof(SRkVideoResolution, aspectDenominator) == 24);
static_assert(offsetof(SRkVideoResolution, colorRange) == 28);
static_assert(offsetof(SRkVideoResolution, reserved) == 32);
static_assert(sizeof(SRkWaveFormatInfo) == 20);
static_assert(offsetof(SRkWaveFormatInfo, channels) == 0);
static_assert(offsetof(SRkWaveFormatInfo, formatType) == 4);
static_assert(offsetof(SRkWaveFormatInfo, samplesPerSecond) == 8);
static_assert(offsetof(SRkWaveFormatInfo, bytesPerSecond) == 12);
static_assert(offsetof(SRkWaveFormatInfo, bitsPerSample) == 16);
static_assert(offsetof(SRkWaveFormatInfo, blockAlign) == 18);
static_assert(sizeof(SRkClipFormat) == 56);
static_assert(offsetof(SRkClipFormat, audio) == 0);
static_assert(offsetof(SRkClipFormat, video) == 20);
static_assert(sizeof(SRkLockAudioSample) == 16);
static_assert(offsetof(SRkLockAudioSample, data) == 0);
static_assert(offsetof(SRkLockAudioSample, capacity) == 8);
static_assert(offsetof(SRkLockAudioSample, sampleCount) == 12);
static_assert(sizeof(SRkAudioSampleInfo) == 24);
static_assert(offsetof(SRkAudioSampleInfo, format) == 0);
static_assert(offsetof(SRkAudioSampleInfo, dataLength) == 20);
static_assert(sizeof(SRkAudioMixParam) == 8);
static_assert(offsetof(SRkAudioMixParam, leftGain) == 0);
static_assert(offsetof(SRkAudioMixParam, rightGain) == 4);
