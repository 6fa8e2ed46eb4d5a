#include "output_device/CRkAudioFrameBuilder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "base/CRkAudioLock.h"
#include "base/RkSampleFormat.h"

namespace {

constexpr int kFullLevel = 1000;

// Channels 0, 2, 4 ... go to the left, 1, 3, 5 ... to the right, an odd last one to both.
void FillWeights(SRkAudioMixParam* weights, int channels) {
  for (int i = 0; i < channels; ++i) {
    const bool inPair = (i | 1) < channels;
    const bool isLeft = i % 2 == 0;
    weights[i] = {!inPair || isLeft ? kFullLevel : 0, !inPair || !isLeft ? kFullLevel : 0};
  }
}

// The first channels of a block that is wider than the room in the target.
void CopyFirstChannels(const SRkWaveFormatInfo& blockFormat, const BYTE* block, int channels,
                       const SRkWaveFormatInfo& targetFormat, BYTE* target, DWORD sampleCount) {
  const size_t bytes = static_cast<size_t>(channels) * (blockFormat.bitsPerSample / 8);
  for (DWORD i = 0; i < sampleCount; ++i) {
    std::memcpy(target, block, bytes);
    block += blockFormat.blockAlign;
    target += targetFormat.blockAlign;
  }
}

// 16-bit stereo, by linear interpolation; the first and the last sample stay, so that neighbours still join.
// Both may be the same memory: no sample is overwritten before it has been read.
void Resample(const BYTE* source, DWORD sourceCount, BYTE* target, DWORD targetCount) {
  const auto* from = reinterpret_cast<const std::int16_t*>(source);
  auto* to = reinterpret_cast<std::int16_t*>(target);
  const ULONGLONG lastFrom = sourceCount - 1;
  const ULONGLONG lastTo = targetCount - 1;
  for (ULONGLONG step = 0; step < targetCount; ++step) {
    const ULONGLONG index = sourceCount < targetCount ? lastTo - step : step;
    const ULONGLONG at = index * lastFrom;
    const ULONGLONG before = at / lastTo;
    const ULONGLONG after = std::min(before + 1, lastFrom);
    const auto part = static_cast<LONGLONG>(at % lastTo);
    for (const int side : {0, 1}) {
      const LONGLONG first = from[2 * before + side];
      const LONGLONG second = from[2 * after + side];
      to[2 * index + side] =
          static_cast<std::int16_t>(first + (second - first) * part / static_cast<LONGLONG>(lastTo));
    }
  }
}

}  // namespace

BOOL CRkAudioFrameBuilder::Configure(const SRkWaveFormatInfo& output, int sourceChannels,
                                     ERkFrameRate frameRate) {
  m_output = output;
  m_sourceChannels = sourceChannels;
  m_frameRate = frameRate;
  m_weights.reset(new (std::nothrow) SRkAudioMixParam[static_cast<size_t>(sourceChannels)]);
  if (!m_weights) return FALSE;
  FillWeights(m_weights.get(), sourceChannels);
  return TRUE;
}

BOOL CRkAudioFrameBuilder::Build(IRkAVPlaySample* sample, UINT frameIndex, IRkAudioSample** audio) {
  int channel = 0;
  for (UINT i = 0; sample != nullptr && channel < m_sourceChannels; ++i) {
    CRkRef<IRkAudioSample> block;
    sample->GetAudioSample(i, 0, block.Out());
    if (!block) break;
    SRkAudioSampleInfo info = {};
    block->GetInfo(&info);
    if (i == 0 && CRkAudioLock(*block).SampleCount() == 0) break;
    if (i == 0 && RkIsSameFormat(info.format, m_output)) {
      *audio = block.Detach();
      return TRUE;
    }
    if (i == 0 && !_StartMix(*block, info.format)) break;
    _Gather(*block, info.format, channel);
    channel += std::max(info.format.channels, 1);
  }
  if (channel > 0) return _MixDown(audio);
  return _GetSilence(static_cast<DWORD>(FirstSample(frameIndex + 1) - FirstSample(frameIndex)), audio);
}

BOOL CRkAudioFrameBuilder::Fit(IRkAudioSample& audio, DWORD sampleCount, IRkAudioSample** fitted) {
  const DWORD sourceCount = CRkAudioLock(audio).SampleCount();
  const bool isOwn = &audio == m_outputSample.sample.Get();
  if (!_Prepare(m_outputSample, m_output, sampleCount)) return FALSE;
  const CRkAudioLock target(*m_outputSample.sample);
  if (isOwn) {
    Resample(target.Data(), sourceCount, target.Data(), sampleCount);
  } else {
    Resample(CRkAudioLock(audio).Data(), sourceCount, target.Data(), sampleCount);
  }
  m_outputSample.sample.CopyTo(fitted);
  return TRUE;
}

ULONGLONG CRkAudioFrameBuilder::FirstSample(UINT frameIndex) const {
  return RkAudioUtils::GetAudioSampleCounts(m_output.samplesPerSecond, m_frameRate, 0, frameIndex);
}

// Has room for two frames at least, so that blocks of ordinary length never allocate.
BOOL CRkAudioFrameBuilder::_Prepare(SWorkSample& work, const SRkWaveFormatInfo& format,
                                    DWORD sampleCount) const {
  if (!work.sample || work.capacity < sampleCount || !RkIsSameFormat(work.format, format)) {
    const auto twoFrames =
        static_cast<DWORD>(RkAudioUtils::GetAudioSampleCounts(format.samplesPerSecond, m_frameRate, 0, 2));
    work.format = format;
    work.capacity = std::max(twoFrames, sampleCount);
    if (!RkCreateUserAudioSample(format, nullptr, work.capacity, work.sample.Out())) return FALSE;
  }
  work.sample->SetSampleCount(sampleCount);
  return TRUE;
}

BOOL CRkAudioFrameBuilder::_GetSilence(DWORD sampleCount, IRkAudioSample** audio) {
  if (!_Prepare(m_outputSample, m_output, sampleCount)) return FALSE;
  const CRkAudioLock output(*m_outputSample.sample);
  RkAudioUtils::SilientAudioBuffer(m_output, output.Data(), output.SampleCount());
  m_outputSample.sample.CopyTo(audio);
  return TRUE;
}

// Makes the mix sample ready for blocks like the first one: silent, as long as that block. False for an
// empty block, whose frame is better silent than missing.
bool CRkAudioFrameBuilder::_StartMix(IRkAudioSample& first, const SRkWaveFormatInfo& firstFormat) {
  const DWORD sampleCount = CRkAudioLock(first).SampleCount();
  const SRkWaveFormatInfo format =
      RkMakeWaveFormat(m_sourceChannels, firstFormat.samplesPerSecond, firstFormat.bitsPerSample);
  if (sampleCount == 0 || !_Prepare(m_mixSample, format, sampleCount)) return false;
  const CRkAudioLock mix(*m_mixSample.sample);
  RkAudioUtils::SilientAudioBuffer(format, mix.Data(), mix.SampleCount());
  return true;
}

// Puts a block at its channel position; what does not fit, to the side or at the end, is cut.
void CRkAudioFrameBuilder::_Gather(IRkAudioSample& block, const SRkWaveFormatInfo& format, int channel) {
  if (format.bitsPerSample != m_mixSample.format.bitsPerSample) return;
  const CRkAudioLock source(block);
  const CRkAudioLock mix(*m_mixSample.sample);
  BYTE* const target = mix.Data() + static_cast<size_t>(channel) * (m_mixSample.format.bitsPerSample / 8);
  const DWORD count = std::min(source.SampleCount(), mix.SampleCount());
  const int room = m_sourceChannels - channel;
  if (format.channels <= room) {
    RkAudioUtils::CopyAudioChannelSamples(format, source.Data(), m_mixSample.format, target, count);
  } else {
    CopyFirstChannels(format, source.Data(), room, m_mixSample.format, target, count);
  }
}

BOOL CRkAudioFrameBuilder::_MixDown(IRkAudioSample** audio) {
  if (RkIsSameFormat(m_mixSample.format, m_output)) {
    m_mixSample.sample.CopyTo(audio);
    return TRUE;
  }
  CRkAudioLock mix(*m_mixSample.sample);
  CRkRef<IRkAudioSample> mixed;
  if (!_GetSilence(mix.SampleCount(), mixed.Out())) return FALSE;
  CRkAudioLock output(*mixed);
  RkAudioUtils::MixAudioSampleTo16bitStereo(m_mixSample.format, mix.Record(), m_output, output.Record(),
                                            m_weights.get(), m_sourceChannels);
  mixed.CopyTo(audio);
  return TRUE;
}
