#pragma once

#include <memory>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"
#include "libraries/kernel/audio/CRkAudioRing.h"
#include "libraries/kernel/audio/CRkNotifyTimer.h"
#include "libraries/kernel/audio/CRkSmoothPosition.h"
#include "libraries/kernel/audio/IRkSoundOutput.h"

// The audio renderer: the user writes into the ring, the sound system pulls out of it, the position follows
// from the pulls. While a sound system that is not virtual is lost, each operation drops the sound that the
// clock has passed; the monitor does not receive it.
//
//   ready --Play, enough written--> playing --Stop--> stopped      any --Reset--> ready
//
// One thread drives it; the queries may come from any; Pull comes on the sound system's thread. m_control
// is held while the sound system starts or stops, also while a stop waits for the last sound. m_lock, taken
// after it, guards the fields below it. Neither the sound system, which may wait for a pull, nor the log and
// the monitor, which are host code, is called under m_lock. The monitor is called on the pulling thread or,
// after the last pull, on the stopping one. Owns the sound system, which ends its pulls first.
class CRkAudioDirectSound final : public CRkUnknown<IRkAudioDirectSound>, private IRkSoundSource {
 public:
  using Clock = LONGLONG (*)();  // nanoseconds of the monotonic clock

  // Null for what cannot be played; the factory's comment lists the causes.
  static CRkRef<IRkAudioDirectSound> Create(const SRkWaveFormatInfo& format, double bufferMs,
                                            DWORD startBytes, std::unique_ptr<IRkSoundOutput> output,
                                            CRkRef<IRkAudioMonitor> monitor, Clock clock);

  void Reset() override;
  void Stop() override;
  BOOL Play() override;
  void WriteSample(IRkAudioSample* audio, ULONGLONG writePosition) override;
  ULONGLONG GetDroppedSampleCount() override;
  BOOL IsLost() override;
  UINT GetLossCount() override;
  void SetNotifyInterval(double milliseconds) override;
  BOOL WaitForNotify(UINT timeoutMs) override;
  double GetBufferDuration() override { return _Milliseconds(m_spanFrames); }
  void GetPlayPosition(double* position) override;

 private:
  enum class EState { kReady, kPlaying, kStopped };

  CRkAudioDirectSound(const SRkWaveFormatInfo& format, DWORD spanFrames, DWORD startBytes,
                      std::unique_ptr<IRkSoundOutput> output, CRkRef<IRkAudioMonitor> monitor, Clock clock);
  ~CRkAudioDirectSound() override;

  bool _Open();
  void Pull(BYTE* data, DWORD bytes) override;
  void _Hear(const BYTE* data, DWORD bytes);
  void _WaitUntilPlayedOut() RK_REQUIRES(m_control);
  void _HandOverRest() RK_REQUIRES(m_control);
  // Notices a loss; while there is one, brings position and ring up to now.
  void _Follow();
  void _DropLost(LONGLONG now) RK_REQUIRES(m_lock);
  void _ChangeState(EState state);
  double _Milliseconds(double frames) const { return frames * 1000.0 / m_format.samplesPerSecond; }

  const SRkWaveFormatInfo m_format;
  const DWORD m_spanFrames;
  const DWORD m_startBytes;
  const CRkRef<IRkAudioMonitor> m_monitor;
  const Clock m_clock;
  const CRkHandle m_changed = CRkHandle::AutoResetEvent();    // wakes WaitForNotify
  const CRkHandle m_playedOut = CRkHandle::AutoResetEvent();  // the last written byte has been pulled

  CRkCriticalSection m_control RK_ACQUIRED_BEFORE(m_lock);
  CRkCriticalSection m_lock;
  EState m_state RK_GUARDED_BY(m_lock) = EState::kReady;
  CRkAudioRing m_ring RK_GUARDED_BY(m_lock);
  CRkSmoothPosition m_position RK_GUARDED_BY(m_lock);
  CRkNotifyTimer m_notify RK_GUARDED_BY(m_lock);
  double m_heardFrames RK_GUARDED_BY(m_lock) = 0.0;     // as last read; stands while nothing plays
  double m_reportedFrames RK_GUARDED_BY(m_lock) = 0.0;  // to the user; lags after a jump only
  bool m_lossLogged RK_GUARDED_BY(m_lock) = false;
  ULONGLONG m_droppedBytes RK_GUARDED_BY(m_lock) = 0;
  UINT m_losses RK_GUARDED_BY(m_lock) = 0;
  bool m_isCardLost RK_GUARDED_BY(m_lock) = false;  // until the next pull, over any number of plays
  std::vector<BYTE> m_restPart RK_GUARDED_BY(m_control);

  std::unique_ptr<IRkSoundOutput> m_output;
};
