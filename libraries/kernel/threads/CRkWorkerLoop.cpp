#include "libraries/kernel/threads/CRkWorkerLoop.h"

#include <algorithm>
#include <optional>

#include "platform/CRkFineTiming.h"

CRkWorkerLoop::CRkWorkerLoop(int priority) : m_priority(priority) {
  if (m_idle) SetEvent(m_idle);
}

void CRkWorkerLoop::Run() {
  {
    CRkScopedLock lock(m_lock);
    m_threadId = GetCurrentThreadId();
  }
  // Owners give their own name from their routine.
  SetThreadDescription(GetCurrentThread(), L"RkWorker");

  std::optional<int> applied;
  SRun run{};
  while (_TakeRun(run)) {
    if (applied != run.priority) SetThreadPriority(GetCurrentThread(), run.priority);
    applied = run.priority;
    const CRkFineTiming fineTiming;
    do {
      run.proc(run.context, m_stop);
    } while (_FinishRun());
  }
  SetEvent(m_ended);
}

// Waits for a run; false when the loop is to end.
bool CRkWorkerLoop::_TakeRun(SRun& run) {
  RkWait(m_wake, INFINITE);
  CRkScopedLock lock(m_lock);
  if (m_closed) {
    m_running = false;
    m_threadId = 0;
    SetEvent(m_idle);
    return false;
  }
  run = {m_proc, m_context, _Priority()};
  return true;
}

// True when the routine is to run again immediately.
bool CRkWorkerLoop::_FinishRun() {
  CRkScopedLock lock(m_lock);
  if (m_restart) {
    m_restart = false;
    ResetEvent(m_stop);
    return true;
  }
  m_running = false;
  SetEvent(m_idle);
  return false;
}

// Raised bulk work holds up the threads it works for: with many channels samples come late, and each costs
// a quarter more.
int CRkWorkerLoop::_Priority() const {
  return m_keepsTime ? m_priority : std::min(m_priority, THREAD_PRIORITY_NORMAL);
}

void CRkWorkerLoop::Serve() {
  CRkScopedLock lock(m_lock);
  m_serving = true;
}

void CRkWorkerLoop::Start() {
  CRkScopedLock lock(m_lock);
  if (!m_serving || m_closed || m_proc == nullptr) return;
  if (m_running) {
    m_restart = true;
    SetEvent(m_stop);
    return;
  }
  // Not on the system thread: a RequestStop that follows must stop this run.
  ResetEvent(m_stop);
  ResetEvent(m_idle);
  m_running = true;
  SetEvent(m_wake);
}

void CRkWorkerLoop::RequestStop() {
  CRkScopedLock lock(m_lock);
  m_restart = false;
  SetEvent(m_stop);
}

void CRkWorkerLoop::Close() {
  CRkScopedLock lock(m_lock);
  m_closed = true;
  m_restart = false;
  SetEvent(m_stop);
  SetEvent(m_wake);
}

void CRkWorkerLoop::SetThreadProc(RkThreadProc proc, void* context) {
  CRkScopedLock lock(m_lock);
  m_proc = proc;
  m_context = context;
}

void CRkWorkerLoop::SetOption(BOOL keepsTime) {
  CRkScopedLock lock(m_lock);
  m_keepsTime = keepsTime != FALSE;
}

bool CRkWorkerLoop::IsIdle() {
  CRkScopedLock lock(m_lock);
  return !m_running;
}

bool CRkWorkerLoop::IsOwnThread() {
  CRkScopedLock lock(m_lock);
  return m_threadId == GetCurrentThreadId();
}
