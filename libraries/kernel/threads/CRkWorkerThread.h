#pragma once

#include <memory>
#include <thread>

#include "base/CRkUnknown.h"
#include "libraries/kernel/threads/CRkWorkerLoop.h"

// A system thread with the loop it serves. The thread exists from the construction on, so that creation
// fails where the system refuses a thread.
//
// Any thread may enter, the worker itself included: there WaitForStop and Close never wait. Owns the thread
// until Close joins it, or detaches one that does not end in time. m_threadLock guards only that and is
// taken with no other lock.
class CRkWorkerThread : public CRkUnknown<IRkWorkerThread> {
 public:
  // Throws std::system_error without a thread.
  explicit CRkWorkerThread(const std::shared_ptr<CRkWorkerLoop>& loop);

  void Start() override { m_loop->Start(); }
  void RequestStop() override { m_loop->RequestStop(); }
  void WaitForStop(DWORD timeoutMs) override;
  void Close(DWORD timeoutMs) override;
  void SetThreadProc(RkThreadProc proc, void* context) override { m_loop->SetThreadProc(proc, context); }
  BOOL IsIdle() override { return m_loop->IsIdle(); }
  void Create() override { m_loop->Serve(); }
  void SetOption(BOOL keepsTime) override { m_loop->SetOption(keepsTime); }

 protected:
  ~CRkWorkerThread() override;

 private:
  std::thread _TakeThread();

  const std::shared_ptr<CRkWorkerLoop> m_loop;
  CRkCriticalSection m_threadLock;
  std::thread m_thread RK_GUARDED_BY(m_threadLock);
};
