#pragma once

#include <vector>

#include "base/CRkRef.h"
#include "contracts/RkKernel.h"
#include "libraries/kernel/audio/IRkSoundOutput.h"

// The periods in which a sound card without hardware takes its sound: about 10 ms each, at moments derived
// from the period's number, so that hours at any rate end where they should.
struct SRkSoundPeriods {
  explicit SRkSoundPeriods(DWORD framesPerSecond);

  // Nanoseconds from the start to the moment at which period `number` is taken; the first is number 0.
  LONGLONG Time(ULONGLONG number) const;

  DWORD framesPerSecond;
  DWORD frames;  // in each
};

// A sound card in name only: its thread takes the sound by the monotonic clock and lets it go. A thread
// that wakes late takes at once what it has missed. The source decides what becomes of the sound.
class CRkVirtualSoundOutput final : public IRkSoundOutput {
 public:
  CRkVirtualSoundOutput() = default;
  ~CRkVirtualSoundOutput() override;

  bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) override;
  void Start() override;
  void Stop() override;
  bool IsLost() override { return false; }
  DWORD LatencyFrames() const override { return 0; }
  bool IsVirtual() const override { return true; }

 private:
  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  void _Run(HANDLE stopEvent);

  SRkSoundPeriods m_periods{1};
  IRkSoundSource* m_source = nullptr;
  std::vector<BYTE> m_period;  // the thread's
  CRkRef<IRkWorkerThread> m_thread;
};
