#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "contracts/RkKernel.h"
#include "libraries/kernel/audio/IRkSoundOutput.h"

// A sound system that comes back: where the one in use is lost, it is closed, and others are opened in its
// place until one succeeds. Closing and opening may take long, so they happen on a thread of their own,
// which exists from the first loss on.
//
// The renderer's threads enter every operation but the destructor, its sound system's only the source.
// m_lock guards the fields below it; a sound system is started and stopped under it, which may wait for a
// pull to end, so no renderer may call Start, Stop or IsLost while it holds a lock that a pull takes.
class CRkRecoveringSoundOutput final : public IRkSoundOutput {
 public:
  using Factory = std::function<std::unique_ptr<IRkSoundOutput>()>;

  CRkRecoveringSoundOutput(Factory factory, DWORD retryMs)
      : m_factory(std::move(factory)), m_retryMs(retryMs) {}
  ~CRkRecoveringSoundOutput() override;

  bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) override;
  void Start() override;
  void Stop() override;
  // Begins the recovery.
  bool IsLost() override;
  DWORD LatencyFrames() const override { return m_latencyFrames; }
  bool IsVirtual() const override { return false; }

 private:
  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  void _Recover(HANDLE stopEvent);
  std::unique_ptr<IRkSoundOutput> _OpenNew();
  void _StartRecovery() RK_REQUIRES(m_lock);

  const Factory m_factory;
  const DWORD m_retryMs;
  SRkWaveFormatInfo m_format = {};
  IRkSoundSource* m_source = nullptr;
  std::atomic<DWORD> m_latencyFrames = 0;

  CRkCriticalSection m_lock;
  std::unique_ptr<IRkSoundOutput> m_output RK_GUARDED_BY(m_lock);  // null: another one is looked for
  bool m_running RK_GUARDED_BY(m_lock) = false;
  bool m_recovering RK_GUARDED_BY(m_lock) = false;
  CRkRef<IRkWorkerThread> m_thread RK_GUARDED_BY(m_lock);
};
