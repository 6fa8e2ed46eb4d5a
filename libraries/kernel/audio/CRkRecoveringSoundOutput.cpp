#include "libraries/kernel/audio/CRkRecoveringSoundOutput.h"

#include <utility>

#include "base/CRkHandle.h"

CRkRecoveringSoundOutput::~CRkRecoveringSoundOutput() {
  CRkRef<IRkWorkerThread> thread;
  {
    CRkScopedLock lock(m_lock);
    thread = m_thread;
  }
  if (thread) thread->Close(INFINITE);
}

bool CRkRecoveringSoundOutput::Open(const SRkWaveFormatInfo& format, IRkSoundSource& source) {
  m_format = format;
  m_source = &source;
  auto output = _OpenNew();
  CRkScopedLock lock(m_lock);
  m_output = std::move(output);
  return m_output != nullptr;
}

std::unique_ptr<IRkSoundOutput> CRkRecoveringSoundOutput::_OpenNew() {
  auto output = m_factory();
  if (!output || !output->Open(m_format, *m_source)) return nullptr;
  m_latencyFrames = output->LatencyFrames();
  return output;
}

void CRkRecoveringSoundOutput::Start() {
  CRkScopedLock lock(m_lock);
  m_running = true;
  if (m_output) m_output->Start();
}

void CRkRecoveringSoundOutput::Stop() {
  CRkScopedLock lock(m_lock);
  m_running = false;
  if (m_output) m_output->Stop();
}

bool CRkRecoveringSoundOutput::IsLost() {
  CRkScopedLock lock(m_lock);
  if (m_output && !m_output->IsLost()) return false;
  if (!m_recovering) _StartRecovery();
  return true;
}

void CRkRecoveringSoundOutput::_StartRecovery() {
  if (!m_thread) {
    if (!RkCreateWorkerThread(THREAD_PRIORITY_NORMAL, m_thread.Out())) return;
    m_thread->SetThreadProc(&_ThreadProc, this);
    m_thread->SetOption(FALSE);
    m_thread->Create();
  }
  m_recovering = true;
  m_thread->Start();
}

UINT CRkRecoveringSoundOutput::_ThreadProc(void* context, HANDLE stopEvent) {
  SetThreadDescription(GetCurrentThread(), L"RkSoundRecovery");
  static_cast<CRkRecoveringSoundOutput*>(context)->_Recover(stopEvent);
  return 0;
}

void CRkRecoveringSoundOutput::_Recover(HANDLE stopEvent) {
  std::unique_ptr<IRkSoundOutput> output;
  {
    CRkScopedLock lock(m_lock);
    output = std::move(m_output);
  }
  output.reset();  // before the next is opened: some devices serve one user
  while (!(output = _OpenNew())) {
    if (RkWait(stopEvent, m_retryMs)) return;
  }
  CRkScopedLock lock(m_lock);
  m_output = std::move(output);
  m_recovering = false;
  if (m_running) m_output->Start();
}
