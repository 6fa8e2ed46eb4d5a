#pragma once

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"

#include "contracts/RkKernel.h"

// The state that a worker thread object and its system thread share: the requested runs and their progress.
// Both hold it, so that a thread may outlive its object after a Close that timed out.
//
//   waiting --Start--> running --routine returns--> waiting      (idle event set while waiting)
//      |                  | Start: stop event set, restart kept --routine returns--> running
//      +------Close-------+--> closed: the loop ends, when the routine has returned
//
// The system thread calls Run, any thread the rest. m_lock guards the fields below it and is a leaf: no wait
// and no routine runs under it.
class CRkWorkerLoop {
 public:
  explicit CRkWorkerLoop(int priority);

  // Whether the system gave every event.
  bool IsValid() const { return m_stop && m_wake && m_idle && m_ended; }

  void Run();

  void Serve();  // Start has an effect from now on
  void Start();
  void RequestStop();
  void Close();
  void SetThreadProc(RkThreadProc proc, void* context);
  void SetOption(BOOL keepsTime);
  bool IsIdle();
  bool IsOwnThread();

  // Signalled while no run is active, and once the loop has ended.
  HANDLE IdleEvent() const { return m_idle; }
  HANDLE EndedEvent() const { return m_ended; }

 private:
  struct SRun {
    RkThreadProc proc;
    void* context;
    int priority;
  };

  bool _TakeRun(SRun& run);
  bool _FinishRun();
  int _Priority() const RK_REQUIRES(m_lock);

  const int m_priority;
  const CRkHandle m_stop = CRkHandle::ManualResetEvent();
  const CRkHandle m_wake = CRkHandle::AutoResetEvent();
  const CRkHandle m_idle = CRkHandle::ManualResetEvent();
  const CRkHandle m_ended = CRkHandle::ManualResetEvent();

  CRkCriticalSection m_lock;
  RkThreadProc m_proc RK_GUARDED_BY(m_lock) = nullptr;
  void* m_context RK_GUARDED_BY(m_lock) = nullptr;
  bool m_keepsTime RK_GUARDED_BY(m_lock) = false;
  bool m_serving RK_GUARDED_BY(m_lock) = false;
  bool m_running RK_GUARDED_BY(m_lock) = false;  // from Start on, not only once the routine is entered
  bool m_restart RK_GUARDED_BY(m_lock) = false;
  bool m_closed RK_GUARDED_BY(m_lock) = false;
  DWORD m_threadId RK_GUARDED_BY(m_lock) = 0;  // 0 unless the loop runs
};
