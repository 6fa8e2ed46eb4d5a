#pragma once

#include <functional>
#include <memory>

#include "libraries/kernel/audio/IRkSoundOutput.h"

// A sound system that comes back: where the one in use is lost, it is closed, and others are opened in its
// place until one succeeds. Closing and opening may take long, so they happen on a thread of their own,
// which exists from the first loss on. A thread that a sound system holds when the destructor has waited
// closeWaitMs for it is left behind; what it uses lives as long as it does, and it pulls no more.
//
// The renderer's threads enter every operation but the destructor. A sound system is started and stopped
// under the lock of the state, which may wait for a pull to end, so no renderer may call Start, Stop or
// IsLost while it holds a lock that a pull takes.
class CRkRecoveringSoundOutput final : public IRkSoundOutput {
 public:
  using Factory = std::function<std::unique_ptr<IRkSoundOutput>()>;

  static constexpr DWORD kCloseWaitMs = 2000;

  CRkRecoveringSoundOutput(Factory factory, DWORD retryMs, DWORD closeWaitMs = kCloseWaitMs);
  ~CRkRecoveringSoundOutput() override;

  bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) override;
  void Start() override;
  void Stop() override;
  // Begins the recovery.
  bool IsLost() override;
  DWORD LatencyFrames() const override;
  bool IsVirtual() const override { return false; }

 private:
  class State;

  const DWORD m_closeWaitMs;
  const std::shared_ptr<State> m_state;
};
