#pragma once

#include <memory>

#include "base/CRkRef.h"
#include "contracts/RkAVUtils.h"
#include "contracts/RkKernel.h"

// Makes each frame's 16-bit stereo audio: a block that is so already is passed through; other blocks are
// gathered side by side in a wide buffer and mixed down; a frame without audio, or whose first block is
// empty, is silence.
//
// Belongs to the pacing thread. Owns two work samples, created on first need and filled anew for every
// frame: who receives one takes what it needs before the next is built.
class CRkAudioFrameBuilder {
 public:
  // Once, first. `output` is 16-bit stereo; sourceChannels at least 2. FALSE without memory.
  BOOL Configure(const SRkWaveFormatInfo& output, int sourceChannels, ERkFrameRate frameRate);

  // sample may be null: silence. FALSE when no sample could be made.
  BOOL Build(IRkAVPlaySample* sample, UINT frameIndex, IRkAudioSample** audio);
  // What a frame takes in the output format.
  DWORD FrameBytes(UINT frameIndex) const;

 private:
  BOOL _GetSilence(DWORD sampleCount, IRkAudioSample** audio);
  DWORD _FrameSamples(UINT frameIndex) const;
  DWORD _WorkCapacity(DWORD samplesPerSecond) const;
  bool _StartMix(IRkAudioSample& first, const SRkWaveFormatInfo& firstFormat);
  void _Gather(IRkAudioSample& block, const SRkWaveFormatInfo& format, int channel);
  BOOL _MixDown(IRkAudioSample** audio);

  SRkWaveFormatInfo m_output = {};
  int m_sourceChannels = 2;
  ERkFrameRate m_frameRate = RkFrameRate_25;

  CRkRef<IRkAudioSample> m_outputSample;
  CRkRef<IRkAudioSample> m_mixSample;
  SRkWaveFormatInfo m_mixFormat = {};             // of m_mixSample
  std::unique_ptr<SRkAudioMixParam[]> m_weights;  // one a source channel
};
