#include "libraries/kernel/threads/CRkWorkerThread.h"

#include <new>
#include <system_error>
#include <utility>

#include "base/RkCreateObject.h"

CRkWorkerThread::CRkWorkerThread(const std::shared_ptr<CRkWorkerLoop>& loop)
    : m_loop(loop), m_thread([loop] { loop->Run(); }) {}

// The routine works on its owner's memory: without a Close the destructor waits for it without limit.
CRkWorkerThread::~CRkWorkerThread() {
  bool open;
  {
    CRkScopedLock lock(m_threadLock);
    open = m_thread.joinable();
  }
  if (open) CRkWorkerThread::Close(INFINITE);
}

void CRkWorkerThread::WaitForStop(DWORD timeoutMs) {
  if (!m_loop->IsOwnThread()) RkWait(m_loop->IdleEvent(), timeoutMs);
}

void CRkWorkerThread::Close(DWORD timeoutMs) {
  m_loop->Close();
  const bool ended = !m_loop->IsOwnThread() && RkWait(m_loop->EndedEvent(), timeoutMs);
  std::thread thread = _TakeThread();
  if (!thread.joinable()) return;
  if (ended) {
    thread.join();
  } else {
    thread.detach();
  }
}

std::thread CRkWorkerThread::_TakeThread() {
  CRkScopedLock lock(m_threadLock);
  return std::move(m_thread);
}

int RkCreateWorkerThread(int priority, IRkWorkerThread** thread) {
  try {
    auto loop = std::make_shared<CRkWorkerLoop>(priority);
    if (!loop->IsValid()) return 0;
    return RkHandOut(CRkRef<CRkWorkerThread>::Adopt(new CRkWorkerThread(loop)), thread);
  } catch (const std::bad_alloc&) {
    return 0;
  } catch (const std::system_error&) {
    return 0;
  }
}
