#include "output_device/CRkAudioFrameBuilder.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/CRkAudioLock.h"

namespace {

constexpr int kFullLevel = 1000;

bool SameFormat(const SRkWaveFormatInfo& a, const SRkWaveFormatInfo& b) {
  return a.channels == b.channels && a.bitsPerSample == b.bitsPerSample &&
         a.samplesPerSecond == b.samplesPerSecond;
}

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
    if (i == 0 && info.dataLength > 0 && SameFormat(info.format, m_output)) {
      *audio = block.Detach();
      return TRUE;
    }
    if (i == 0 && !_StartMix(*block, info.format)) break;
    _Gather(*block, info.format, channel);
    channel += std::max(info.format.channels, 1);
  }
  return channel > 0 ? _MixDown(audio) : _GetSilence(_FrameSamples(frameIndex), audio);
}

DWORD CRkAudioFrameBuilder::FrameBytes(UINT frameIndex) const {
  return _FrameSamples(frameIndex) * m_output.blockAlign;
}

DWORD CRkAudioFrameBuilder::_FrameSamples(UINT frameIndex) const {
  return static_cast<DWORD>(
      RkAudioUtils::GetAudioSampleCounts(m_output.samplesPerSecond, m_frameRate, frameIndex, 1));
}

BOOL CRkAudioFrameBuilder::_GetSilence(DWORD sampleCount, IRkAudioSample** audio) {
  if (!m_outputSample) {
    const DWORD capacity = _WorkCapacity(m_output.samplesPerSecond);
    if (!RkCreateUserAudioSample(m_output, nullptr, capacity, m_outputSample.Out())) return FALSE;
  }
  m_outputSample->SetSampleCount(sampleCount);
  const CRkAudioLock output(*m_outputSample);
  RkAudioUtils::SilientAudioBuffer(m_output, output.Data(), output.SampleCount());
  m_outputSample.CopyTo(audio);
  return TRUE;
}

// Room for two frames, since neighbours may differ by a sample.
DWORD CRkAudioFrameBuilder::_WorkCapacity(DWORD samplesPerSecond) const {
  return static_cast<DWORD>(RkAudioUtils::GetAudioSampleCounts(samplesPerSecond, m_frameRate, 0, 2));
}

// Makes the mix sample ready for blocks like the first one: silent, as long as that block. False for an
// empty block, whose frame is better silent than missing.
bool CRkAudioFrameBuilder::_StartMix(IRkAudioSample& first, const SRkWaveFormatInfo& firstFormat) {
  const DWORD sampleCount = CRkAudioLock(first).SampleCount();
  const SRkWaveFormatInfo format =
      RkMakeWaveFormat(m_sourceChannels, firstFormat.samplesPerSecond, firstFormat.bitsPerSample);
  if (sampleCount == 0) return false;
  if (!m_mixSample || !SameFormat(format, m_mixFormat)) {
    const DWORD capacity = _WorkCapacity(format.samplesPerSecond);
    if (!RkCreateUserAudioSample(format, nullptr, capacity, m_mixSample.Out())) return false;
    m_mixFormat = format;
  }
  m_mixSample->SetSampleCount(sampleCount);
  const CRkAudioLock mix(*m_mixSample);
  RkAudioUtils::SilientAudioBuffer(m_mixFormat, mix.Data(), mix.SampleCount());
  return true;
}

// Puts a block at its channel position; what does not fit, to the side or at the end, is cut.
void CRkAudioFrameBuilder::_Gather(IRkAudioSample& block, const SRkWaveFormatInfo& format, int channel) {
  if (format.bitsPerSample != m_mixFormat.bitsPerSample) return;
  const CRkAudioLock source(block);
  const CRkAudioLock mix(*m_mixSample);
  BYTE* const target = mix.Data() + static_cast<size_t>(channel) * (m_mixFormat.bitsPerSample / 8);
  const DWORD count = std::min(source.SampleCount(), mix.SampleCount());
  const int room = m_sourceChannels - channel;
  if (format.channels <= room) {
    RkAudioUtils::CopyAudioChannelSamples(format, source.Data(), m_mixFormat, target, count);
  } else {
    CopyFirstChannels(format, source.Data(), room, m_mixFormat, target, count);
  }
}

BOOL CRkAudioFrameBuilder::_MixDown(IRkAudioSample** audio) {
  if (SameFormat(m_mixFormat, m_output)) {
    m_mixSample.CopyTo(audio);
    return TRUE;
  }
  CRkAudioLock mix(*m_mixSample);
  CRkRef<IRkAudioSample> mixed;
  if (!_GetSilence(mix.SampleCount(), mixed.Out())) return FALSE;
  CRkAudioLock output(*mixed);
  RkAudioUtils::MixAudioSampleTo16bitStereo(m_mixFormat, mix.Record(), m_output, output.Record(),
                                            m_weights.get(), m_sourceChannels);
  mixed.CopyTo(audio);
  return TRUE;
}
