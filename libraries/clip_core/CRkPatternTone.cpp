#include "libraries/clip_core/CRkPatternTone.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "base/CRkAudioLock.h"
#include "base/CRkRef.h"
#include "base/RkSampleFormat.h"
#include "base/RkWithinMemory.h"
#include "contracts/RkAVUtils.h"

namespace {

constexpr DWORD kFrequency = 1000;
constexpr DWORD kShortestPeriod = 4;    // samples; a shorter period misses the crests
constexpr double kAmplitude = 0.12589;  // -18 dBFS

// The sample for a value from -1 to 1, in the low bytes.
DWORD Encoded(double value, int bits) {
  const double scaled = value * static_cast<double>((1LL << (bits - 1)) - 1);
  const DWORD sample = static_cast<DWORD>(std::llround(scaled));
  return bits == 8 ? sample + 128 : sample;
}

}  // namespace

bool CRkPatternTone::IsSupported(const SRkWaveFormatInfo& audio, int frameRate) {
  const size_t blockBytes = RkFrameBytes(audio);
  if (blockBytes == 0 || blockBytes > 0xFFFF || audio.samplesPerSecond < kFrequency) return false;
  const ERkFrameRate rate = static_cast<ERkFrameRate>(frameRate);
  const ULONGLONG longest = RkAudioUtils::GetAudioSampleCounts(audio.samplesPerSecond, rate, 0, 1) + 1;
  return longest * blockBytes <= 0x7FFFFFFF;
}

bool CRkPatternTone::Prepare(const SRkWaveFormatInfo& audio, int frameRate) {
  m_format = RkMakeWaveFormat(audio.channels, audio.samplesPerSecond, audio.bitsPerSample);
  m_frameRate = static_cast<ERkFrameRate>(frameRate);
  const DWORD samples = std::max(kShortestPeriod, (m_format.samplesPerSecond + kFrequency / 2) / kFrequency);
  const int sampleBytes = m_format.bitsPerSample / 8;
  const size_t bytes = static_cast<size_t>(samples) * m_format.blockAlign;
  if (!RkWithinMemory([&] { m_period.resize(bytes); })) return false;
  BYTE* next = m_period.data();
  for (DWORD index = 0; index < samples; ++index) {
    const double wave = std::sin(2 * std::numbers::pi * index / samples);
    const DWORD sample = Encoded(kAmplitude * wave, m_format.bitsPerSample);
    for (int channel = 0; channel < m_format.channels; ++channel, next += sampleBytes)
      std::memcpy(next, &sample, sampleBytes);
  }
  return true;
}

bool CRkPatternTone::Play(UINT position, IRkAudioSample** block) const {
  using RkAudioUtils::GetAudioSampleCounts;
  const DWORD rate = m_format.samplesPerSecond;
  const ULONGLONG first = GetAudioSampleCounts(rate, m_frameRate, 0, position);
  const DWORD count = static_cast<DWORD>(GetAudioSampleCounts(rate, m_frameRate, position, 1));
  CRkRef<IRkAudioSample> created;
  // The output channel may repeat a sample where lists meet.
  if (!RkCreateUserAudioSample(m_format, nullptr, count + 1, created.Out())) return false;
  created->SetSampleCount(count);

  const CRkAudioLock lock(*created);
  BYTE* next = lock.Data();
  size_t from = first * m_format.blockAlign % m_period.size();
  for (size_t rest = static_cast<size_t>(count) * m_format.blockAlign; rest > 0; from = 0) {
    const size_t bytes = std::min(rest, m_period.size() - from);
    std::memcpy(next, m_period.data() + from, bytes);
    next += bytes;
    rest -= bytes;
  }
  created.CopyTo(block);
  return true;
}
