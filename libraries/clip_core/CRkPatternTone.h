#pragma once

#include <vector>

#include "contracts/RkMediaRecords.h"

class IRkAudioSample;

// The pattern's tone: 1 kHz, or the nearest to it that has a whole number of samples a period, at -18 dBFS
// on every channel. A sample depends on nothing but its index on the timeline, so the tone goes on from
// element to element and never drifts. One thread at a time.
class CRkPatternTone {
 public:
  // Whether frames of the rate can carry this audio: integers of 8, 16, 24 or 32 bits, from 1000 samples
  // per second on.
  static bool IsSupported(const SRkWaveFormatInfo& audio, int frameRate);

  // False without memory.
  bool Prepare(const SRkWaveFormatInfo& audio, int frameRate);

  // The frame's exact share of the timeline's audio, one block with all channels. False when there is no
  // memory.
  bool Play(UINT position, IRkAudioSample** block) const;

 private:
  SRkWaveFormatInfo m_format = {};
  ERkFrameRate m_frameRate = RkFrameRate_25;
  std::vector<BYTE> m_period;  // one period, as it goes into a block
};
