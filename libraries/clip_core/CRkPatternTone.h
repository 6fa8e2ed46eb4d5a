#pragma once

#include <vector>

#include "contracts/RkMediaRecords.h"

class IRkAudioSample;

// The pattern's tone: -18 dBFS on every channel, at 1 kHz or the nearest frequency whose period is a whole
// number of samples. The index on the timeline alone determines a sample, so the tone continues seamlessly
// from element to element and never drifts. Used by one thread at a time.
class CRkPatternTone {
 public:
  // Whether frames of the rate can carry this audio: integer samples of 8, 16, 24 or 32 bits, at least 1000
  // per second.
  static bool IsSupported(const SRkWaveFormatInfo& audio, int frameRate);

  // False without memory.
  bool Prepare(const SRkWaveFormatInfo& audio, int frameRate);

  // Creates one block of all channels with the frame's exact share of the timeline's audio. False without
  // memory.
  bool Play(UINT position, IRkAudioSample** block) const;

 private:
  SRkWaveFormatInfo m_format = {};
  ERkFrameRate m_frameRate = RkFrameRate_25;
  std::vector<BYTE> m_period;  // one period of the tone, all channels interleaved
};
