#pragma once

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "source_player/CRkTrimWalk.h"
#include "source_player/IRkClipSourcePlayer.h"

// Plays one clip to the host's callback. Owns the worker thread, the open clip and the player's own trim
// information; holds references to the pool and the callback for its whole life.
//
// Threads: the host's control thread, any thread that asks for position or state, and the worker, whose
// run takes its order over when it begins. The clip is lent its trim information by the run itself, from
// its beginning to its end, so that no other run and no control operation meets it trimmed.
// The lock guards position, state and the order of the next run. Nothing is called under it but the
// worker thread's Start and RequestStop, which do not wait: a run is ordered before a Stop begins or not
// at all. A run has the number of the Play that ordered it; one that outlived its Stop leaves the state
// to the later run.
// A callback or a clip that blocks for longer than a Stop waits (5 s) still has the clip when the Stop is
// over: the host must not close or seek it, nor call SetTrimInfo, nor release the player, until the
// callback has returned.
class CRkClipSourcePlayer final : public CRkUnknown<IRkClipSourcePlayer> {
 public:
  CRkClipSourcePlayer(const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format);
  ~CRkClipSourcePlayer() override;

  // Once, right after construction. FALSE without a pool or a worker thread.
  BOOL _Initialize(IRkPlayBufferPool* pool, IRkClipOutputCallback* callback);

  BOOL Open(IRkClipElement* clip) override;
  void Close() override;
  BOOL SetTrimInfo(IRkClipTrimInfo* info) override;
  BOOL Play(UINT startPosition, BOOL loop) override;
  BOOL PlayTrimmed(UINT startPosition, BOOL loop) override;
  void Stop() override;
  BOOL Seek(UINT position) override;
  UINT GetPosition() override;
  UINT GetState() override;

 private:
  struct SRun {
    UINT number = 0;
    UINT counter = 0;  // position of the next sample on the timeline that the clip presents
    bool loop = false;
    CRkTrimWalk walk;
    CRkRef<IRkClipElement> clip;  // null once the run was taken or called off
    CRkRef<IRkClipTrimInfo> trimInfo;
  };

  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  UINT _PlayLoop(HANDLE stopEvent);
  SRun _TakeRun() RK_EXCLUDES(m_lock);
  bool _DeliverToEnd(SRun& run, HANDLE stopEvent);
  void _Deliver(SRun& run, IRkAVPlaySample& sample);
  void _EndRun(const SRun& run);

  BOOL _StartRun(UINT startPosition, BOOL loop, CRkTrimWalk walk, IRkClipTrimInfo* trimInfo);
  void _TakeOverRanges();
  void _Show(IRkAVPlaySample& sample, UINT position) RK_EXCLUDES(m_lock);

  const SRkClipFormat m_format;
  CRkRef<IRkPlayBufferPool> m_bufferPool;
  CRkRef<IRkClipOutputCallback> m_callback;
  CRkRef<IRkWorkerThread> m_thread;

  // The control thread's.
  CRkRef<IRkClipElement> m_clip;
  CRkRef<IRkClipTrimInfo> m_trimInfo;
  CRkTrimWalk::Ranges m_trimList;  // of m_trimInfo, without empty ranges

  CRkCriticalSection m_lock;
  UINT m_position RK_GUARDED_BY(m_lock) = 0;  // of the sample shown last, on the source timeline
  UINT m_state RK_GUARDED_BY(m_lock) = RkPlayer_Stopped;
  bool m_stopping RK_GUARDED_BY(m_lock) = false;  // a Stop waits: no run is ordered
  SRun m_nextRun RK_GUARDED_BY(m_lock);
};
