#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "contracts/RkKernel.h"
#include "libraries/kernel/audio/IRkSoundOutput.h"

// The machine's sound card, through DirectSound. A thread of its own makes every call into the sound system,
// which may block them for as long as it likes: nobody waits for it longer than a bound. A thread that does
// not come back keeps the sound objects, and ends when the system lets it.
//
//   silent --Start--> pulling --Stop--> draining --all heard--> silent      draining --Start--> pulling
//
// A device that fails is lost for good. A buffer that the system takes away, or a cursor that stands still,
// pulls nothing until it is back.
class CRkDirectSoundOutput final : public IRkSoundOutput {
 public:
  explicit CRkDirectSoundOutput(HWND window) : m_window(window) {}
  ~CRkDirectSoundOutput() override;

  bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) override;
  void Start() override;
  void Stop() override;
  bool IsLost() override { return m_shared->lost; }
  DWORD LatencyFrames() const override { return m_shared->latencyFrames; }
  bool IsVirtual() const override { return false; }

 private:
  // What the thread works on; it outlives the output when the thread does.
  struct SShared {
    SRkWaveFormatInfo format = {};
    HWND window = nullptr;
    const CRkHandle opened = CRkHandle::ManualResetEvent();
    const CRkHandle changed = CRkHandle::AutoResetEvent();  // a period has passed, or `pulling` is another
    std::atomic<bool> isOpen = false;
    std::atomic<bool> lost = false;
    std::atomic<DWORD> latencyFrames = 0;

    CRkCriticalSection lock;  // held during a pull, never during a call into the sound system
    IRkSoundSource* source RK_GUARDED_BY(lock) = nullptr;
    bool pulling RK_GUARDED_BY(lock) = false;

    bool Pull(std::vector<BYTE>& period);
    bool IsPulling();
  };

  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  static void _Run(SShared& shared, HANDLE stopEvent);
  void _SetPulling(bool pulling);

  const HWND m_window;
  const std::shared_ptr<SShared> m_shared = std::make_shared<SShared>();
  CRkRef<IRkWorkerThread> m_thread;
};
