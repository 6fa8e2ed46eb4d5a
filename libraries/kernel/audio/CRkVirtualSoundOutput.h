#pragma once

#include <vector>

#include "base/CRkRef.h"
#include "contracts/RkKernel.h"
#include "libraries/kernel/audio/IRkSoundOutput.h"

// When a sound card without hardware takes its sound: in equal periods, at moments derived from the
// period's number, so that hours at any rate end exactly. Pure arithmetic, in nanoseconds of the
// monotonic clock; the owner locks.
//
// A period that is taken a little late delays none of its successors. A stall delays them all: no card
// plays while its process stands still, and its user has not written what was due meanwhile.
class CRkSoundPeriods {
 public:
  // At least one frame to a period.
  CRkSoundPeriods(DWORD framesPerSecond, double periodMs);

  void Start(LONGLONG now);
  LONGLONG Due() const { return m_start + _Time(m_number); }
  // The period that was due has been taken.
  void Take(LONGLONG now);
  DWORD Frames() const { return m_frames; }  // in each

 private:
  LONGLONG _Time(ULONGLONG number) const;

  const DWORD m_framesPerSecond;
  const DWORD m_frames;
  LONGLONG m_start = 0;
  ULONGLONG m_number = 0;
};

// A sound card in name only: its thread takes the sound by the monotonic clock and discards it. The source
// decides what becomes of the sound.
class CRkVirtualSoundOutput final : public IRkSoundOutput {
 public:
  // Periods of 10 ms; twice as long, which costs half as much, for a user that keeps plenty written ahead.
  explicit CRkVirtualSoundOutput(double writtenAheadMs = 0.0);
  ~CRkVirtualSoundOutput() override;

  bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) override;
  void Start() override { m_thread->Start(); }
  void Stop() override;
  bool IsLost() override { return false; }
  DWORD LatencyFrames() const override { return 0; }
  bool IsVirtual() const override { return true; }

 private:
  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  void _Run(HANDLE stopEvent);

  const double m_periodMs;
  DWORD m_framesPerSecond = 0;
  WORD m_blockAlign = 0;
  IRkSoundSource* m_source = nullptr;
  std::vector<BYTE> m_period;  // the thread's
  CRkRef<IRkWorkerThread> m_thread;
};
