#include "output_channel/CRkOnAirSound.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "base/CRkAudioLock.h"
#include "base/CRkRef.h"
#include "contracts/RkMediaRecords.h"

namespace {

using Block = CRkRef<IRkAudioSample>;

// Calls `use` for each block until it returns false. True when there was a block and no call returned false.
template <class Use>
bool ForEachBlock(IRkAVPlaySample& sample, Use use) {
  UINT index = 0;
  for (;; ++index) {
    Block block;
    sample.GetAudioSample(index, 0, block.Out());
    if (!block) return index > 0;
    if (!use(*block)) return false;
  }
}

SRkAudioSampleInfo InfoOf(IRkAudioSample& block) {
  SRkAudioSampleInfo info = {};
  block.GetInfo(&info);
  return info;
}

bool HasSamples(IRkAudioSample& block, DWORD count, DWORD samplesPerSecond) {
  const SRkAudioSampleInfo info = InfoOf(block);
  return count > 0 && info.format.samplesPerSecond == samplesPerSecond && info.format.blockAlign > 0 &&
         info.dataLength == count * info.format.blockAlign;
}

// The block's first `count` samples, the last one repeated where they do not suffice. Null without memory.
Block CopyOf(IRkAudioSample& block, DWORD count) {
  const SRkWaveFormatInfo format = InfoOf(block).format;
  Block copy;
  if (!RkCreateUserAudioSample(format, nullptr, count, copy.Out())) return {};
  copy->SetSampleCount(count);
  const CRkAudioLock from(block), to(*copy);
  const size_t bytes = format.blockAlign;
  const size_t taken = std::min(count, from.SampleCount()) * bytes;
  std::memcpy(to.Data(), from.Data(), taken);
  if (taken < count * bytes) std::memcpy(to.Data() + taken, from.Data() + taken - bytes, bytes);
  return copy;
}

// The sample with `count` samples in each of its blocks. Null without memory.
CRkRef<IRkAVPlaySample> CopyOf(IRkAVPlaySample& sample, DWORD count) {
  CRkRef<IRkAVPlaySample> copy;
  if (!RkCreateAVPlaySample(copy.Out())) return {};
  sample.CopyTo(copy.Get());
  UINT index = 0;
  const bool isWhole = ForEachBlock(sample, [&](IRkAudioSample& block) {
    const Block sound = CopyOf(block, count);
    if (sound) copy->SetAudioSample(index++, sound.Get());
    return static_cast<bool>(sound);
  });
  if (!isWhole) copy.Reset();
  return copy;
}

}  // namespace

void CRkOnAirSound::SetFrameRate(int rate) {
  m_setFrameRate = rate;
}

void CRkOnAirSound::SetSamplesPerSecond(DWORD samples) {
  m_setSamplesPerSecond = samples;
}

void CRkOnAirSound::Deliver(IRkAVPlaySample** sample) {
  _TakeOverRates();
  if (m_denominator == 1) return;
  const UINT position = (*sample)->GetPosition();
  if (position != m_nextPosition) {
    m_excess +=
        static_cast<LONGLONG>(_PartBefore(position)) - static_cast<LONGLONG>(_PartBefore(m_nextPosition));
    if (m_excess < 0 || m_excess >= m_denominator) _Correct(sample, position);
  }
  m_nextPosition = position + 1;
}

void CRkOnAirSound::_TakeOverRates() {
  const int frameRate = m_setFrameRate;
  const DWORD samplesPerSecond = m_setSamplesPerSecond;
  if (frameRate == m_frameRate && samplesPerSecond == m_samplesPerSecond) return;
  m_frameRate = frameRate;
  m_samplesPerSecond = samplesPerSecond;
  m_nextPosition = 0;
  m_excess = 0;
  m_denominator = 1;
  if (!RkIsFrameRate(frameRate)) return;
  const SRkFrameRateFraction rate = kRkFrameRates[frameRate];
  m_numerator = ULONGLONG{samplesPerSecond} * rate.denominator;
  const ULONGLONG divisor = std::gcd(m_numerator, ULONGLONG{rate.numerator});
  m_numerator /= divisor;
  m_denominator = static_cast<LONGLONG>(rate.numerator / divisor);
}

// The part of a sample by which position x r exceeds a whole number.
ULONGLONG CRkOnAirSound::_PartBefore(UINT position) const {
  return position * m_numerator % static_cast<ULONGLONG>(m_denominator);
}

DWORD CRkOnAirSound::_Share(UINT position) const {
  const ULONGLONG denominator = static_cast<ULONGLONG>(m_denominator);
  return static_cast<DWORD>((_PartBefore(position) + m_numerator) / denominator);
}

void CRkOnAirSound::_Correct(IRkAVPlaySample** sample, UINT position) {
  const bool drops = m_excess >= m_denominator;
  const DWORD share = _Share(position);
  const bool follows = ForEachBlock(
      **sample, [&](IRkAudioSample& block) { return HasSamples(block, share, m_samplesPerSecond); });
  if (follows) {
    auto corrected = CopyOf(**sample, drops ? share - 1 : share + 1);
    if (!corrected) return;
    (*sample)->Release();
    *sample = corrected.Detach();
  }
  // Sound of another length, or none, is a break in which a sample more or less makes no difference.
  m_excess += drops ? -m_denominator : m_denominator;
}
