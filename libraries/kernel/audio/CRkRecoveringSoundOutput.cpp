#include "libraries/kernel/audio/CRkRecoveringSoundOutput.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "base/RkSampleFormat.h"
#include "contracts/RkKernel.h"

// What the object and the recovering thread share. m_lock guards the fields below it, m_pullLock the source;
// it is held during a pull.
class CRkRecoveringSoundOutput::State final : public IRkSoundSource {
 public:
  State(Factory factory, DWORD retryMs) : m_factory(std::move(factory)), m_retryMs(retryMs) {}

  bool Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) {
    m_format = format;
    {
      CRkScopedLock lock(m_pullLock);
      m_source = &source;
    }
    auto output = _OpenNew();
    CRkScopedLock lock(m_lock);
    m_output = std::move(output);
    return m_output != nullptr;
  }
  void SetRunning(bool running) {
    CRkScopedLock lock(m_lock);
    m_running = running;
    if (m_output && running) m_output->Start();
    if (m_output && !running) m_output->Stop();
  }
  bool IsLost(const std::shared_ptr<State>& self) {
    CRkScopedLock lock(m_lock);
    if (m_output && !m_output->IsLost()) return false;
    if (!m_recovering) _StartRecovery(self);
    return true;
  }
  DWORD LatencyFrames() const { return m_latencyFrames; }

  void Close(DWORD timeoutMs) {
    CRkRef<IRkWorkerThread> thread;
    {
      CRkScopedLock lock(m_lock);
      m_running = false;
      thread = m_thread;
    }
    if (thread) thread->Close(timeoutMs);
    std::shared_ptr<State> self;
    std::unique_ptr<IRkSoundOutput> output;
    {
      CRkScopedLock lock(m_lock);
      m_closed = true;
      self = std::move(m_self);
      output = std::move(m_output);
    }
    output.reset();
    CRkScopedLock lock(m_pullLock);
    m_source = nullptr;
  }

 private:
  void Pull(BYTE* data, DWORD bytes) override {
    CRkScopedLock lock(m_pullLock);
    if (m_source != nullptr) return m_source->Pull(data, bytes);
    std::fill_n(data, bytes, RkSilentByte(m_format));
  }

  std::unique_ptr<IRkSoundOutput> _OpenNew() {
    auto output = m_factory();
    if (!output || !output->Open(m_format, *this)) return nullptr;
    m_latencyFrames = output->LatencyFrames();
    return output;
  }

  void _StartRecovery(const std::shared_ptr<State>& self) RK_REQUIRES(m_lock) {
    if (!m_thread) {
      if (!RkCreateWorkerThread(THREAD_PRIORITY_NORMAL, m_thread.Out())) return;
      m_thread->SetThreadProc(&_ThreadProc, this);
      m_thread->SetOption(FALSE);
      m_thread->Create();
    }
    m_recovering = true;
    m_self = self;
    m_thread->Start();
  }

  static UINT _ThreadProc(void* context, HANDLE stopEvent) {
    SetThreadDescription(GetCurrentThread(), L"RkSoundRecovery");
    auto& state = *static_cast<State*>(context);
    state._Recover(stopEvent, state._TakeSelf());
    return 0;
  }
  std::shared_ptr<State> _TakeSelf() {
    CRkScopedLock lock(m_lock);
    return std::move(m_self);
  }

  // `self` keeps this alive, where the destructor does not wait.
  void _Recover(HANDLE stopEvent, const std::shared_ptr<State>& self) {
    std::unique_ptr<IRkSoundOutput> output;
    {
      CRkScopedLock lock(m_lock);
      output = std::move(m_output);
    }
    output.reset();  // before the next is opened: some devices serve one user
    while (!(output = _OpenNew())) {
      if (self->_IsClosed() || RkWait(stopEvent, m_retryMs)) return;
    }
    CRkScopedLock lock(m_lock);
    if (m_closed) return;
    m_output = std::move(output);
    m_recovering = false;
    if (m_running) m_output->Start();
  }
  bool _IsClosed() {
    CRkScopedLock lock(m_lock);
    return m_closed;
  }

  const Factory m_factory;
  const DWORD m_retryMs;
  SRkWaveFormatInfo m_format = {};
  std::atomic<DWORD> m_latencyFrames = 0;

  CRkCriticalSection m_pullLock;
  IRkSoundSource* m_source RK_GUARDED_BY(m_pullLock) = nullptr;  // null: closed

  CRkCriticalSection m_lock;
  std::unique_ptr<IRkSoundOutput> m_output RK_GUARDED_BY(m_lock);  // null: another one is looked for
  bool m_running RK_GUARDED_BY(m_lock) = false;
  bool m_recovering RK_GUARDED_BY(m_lock) = false;
  bool m_closed RK_GUARDED_BY(m_lock) = false;
  CRkRef<IRkWorkerThread> m_thread RK_GUARDED_BY(m_lock);
  std::shared_ptr<State> m_self RK_GUARDED_BY(m_lock);  // on its way to the thread
};

CRkRecoveringSoundOutput::CRkRecoveringSoundOutput(Factory factory, DWORD retryMs, DWORD closeWaitMs)
    : m_closeWaitMs(closeWaitMs), m_state(std::make_shared<State>(std::move(factory), retryMs)) {}

CRkRecoveringSoundOutput::~CRkRecoveringSoundOutput() {
  m_state->Close(m_closeWaitMs);
}

bool CRkRecoveringSoundOutput::Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) {
  return m_state->Open(format, source);
}

void CRkRecoveringSoundOutput::Start() {
  m_state->SetRunning(true);
}

void CRkRecoveringSoundOutput::Stop() {
  m_state->SetRunning(false);
}

bool CRkRecoveringSoundOutput::IsLost() {
  return m_state->IsLost(m_state);
}

DWORD CRkRecoveringSoundOutput::LatencyFrames() const {
  return m_state->LatencyFrames();
}
