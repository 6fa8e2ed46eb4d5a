#pragma once

#include <memory>

#include "base/CRkRef.h"
#include "contracts/RkAVUtils.h"
#include "contracts/RkKernel.h"

// Makes each frame's 16-bit stereo audio: a block in that format is passed through; other blocks are
// gathered side by side in a wide buffer and mixed down; a frame without audio, or whose first block is
// empty, is silence.
//
// Belongs to the pacing thread. Owns two work samples, created on first need and reused for every frame:
// a receiver takes what it needs before the next frame is built.
class CRkAudioFrameBuilder {
 public:
  // Once, first. `output` is 16-bit stereo; sourceChannels at least 2. FALSE without memory.
  BOOL Configure(const SRkWaveFormatInfo& output, int sourceChannels, ERkFrameRate frameRate);

  // sample may be null: silence. FALSE when no sample could be made.
  BOOL Build(IRkAVPlaySample* sample, UINT frameIndex, IRkAudioSample** audio);
  // Stretches or squeezes built audio of at least one sample to `sampleCount`, from 2 to two frames' worth.
  // FALSE without memory.
  BOOL Fit(IRkAudioSample& audio, DWORD sampleCount, IRkAudioSample** fitted);

  // Where a frame begins, in samples of the output from frame 0 on.
  ULONGLONG FirstSample(UINT frameIndex) const;
  const SRkWaveFormatInfo& Output() const { return m_output; }

 private:
  struct SWorkSample {
    CRkRef<IRkAudioSample> sample;
    SRkWaveFormatInfo format = {};
    DWORD capacity = 0;
  };

  BOOL _Prepare(SWorkSample& work, const SRkWaveFormatInfo& format, DWORD sampleCount) const;
  BOOL _GetSilence(DWORD sampleCount, IRkAudioSample** audio);
  bool _StartMix(IRkAudioSample& first, const SRkWaveFormatInfo& firstFormat);
  void _Gather(IRkAudioSample& block, const SRkWaveFormatInfo& format, int channel);
  BOOL _MixDown(IRkAudioSample** audio);

  SRkWaveFormatInfo m_output = {};
  int m_sourceChannels = 2;
  ERkFrameRate m_frameRate = RkFrameRate_25;

  SWorkSample m_outputSample;
  SWorkSample m_mixSample;
  std::unique_ptr<SRkAudioMixParam[]> m_weights;  // one a source channel
};
