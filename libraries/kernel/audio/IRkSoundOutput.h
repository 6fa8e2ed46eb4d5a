#pragma once

#include "contracts/RkMediaRecords.h"

// Where a sound system takes its sound from.
class IRkSoundSource {
 public:
  virtual ~IRkSoundSource() = default;
  // Fills `data` with the next whole samples. On the sound system's thread, one call at a time, between
  // Start and the end of Stop.
  virtual void Pull(BYTE* data, DWORD bytes) = 0;
};

// A sound system, as a renderer sees it: it takes sound when it needs some. One thread at a time drives it;
// IsLost may be asked from any. Destruction ends the pulls.
class IRkSoundOutput {
 public:
  virtual ~IRkSoundOutput() = default;
  // Once, before everything else. False without a device or for a format that it cannot play; then nothing
  // but destruction may follow. The source must live until then.
  virtual bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) = 0;
  // Begins to pull. It may be started again after a Stop.
  virtual void Start() = 0;
  // Returns when the last pull has. Sound already pulled still plays.
  virtual void Stop() = 0;
  // The device has gone and will not pull again.
  virtual bool IsLost() = 0;
  // Samples between those pulled and those heard at the moment of a pull.
  virtual DWORD LatencyFrames() const = 0;
  // Plays to nobody: it is never lost, and the end of play waits for nothing.
  virtual bool IsVirtual() const = 0;
};
