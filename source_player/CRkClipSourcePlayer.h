#pragma once

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "source_player/CRkTrimWalk.h"
#include "source_player/IRkClipSourcePlayer.h"

// The time-outs of a player in milliseconds. A player borrows one record for its whole life.
struct SRkPlayerWaits {
  DWORD sampleMs = 1;    // the worker's wait for its stop event before each sample
  DWORD stopMs = 5000;   // Stop waits for the run to end
  DWORD closeMs = 1000;  // the destructor waits for the worker's thread to end
};

inline constexpr SRkPlayerWaits kRkPlayerWaits;  // of every player that the factory creates

// Plays one clip to the host's callback. Owns the worker thread, and one reference each to the pool, the
// callback, the open clip and the player's own trim information.
//
// Threads: one control thread calls everything but GetPosition and GetState, which any thread may call. The
// worker performs one run for each Play.
// m_lock guards the position, the state and the order for the next run. Nothing is called under it but the
// worker thread's Start and RequestStop, neither of which waits; so a run is either ordered before a Stop
// begins, or refused.
//
// The worker copies its order when the run begins. The run itself sets the clip's trim information and
// lifts it at its end, so that every control operation and every other run finds the clip whole.
// A run that outlives its Stop (a callback or a clip blocks) still uses the clip: until it has returned,
// the host must not call Close, Seek or SetTrimInfo, nor release the player. Such a run leaves the state to
// the run that was ordered after it, which has a higher number.
class CRkClipSourcePlayer final : public CRkUnknown<IRkClipSourcePlayer> {
 public:
  CRkClipSourcePlayer(const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format,
                      const SRkPlayerWaits& waits = kRkPlayerWaits);
  ~CRkClipSourcePlayer() override;

  // Called once, right after construction. FALSE without a pool or a worker thread.
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
    bool isTrimmed = false;  // sets the clip's trim information, which may be null
    CRkTrimWalk walk;
    CRkRef<IRkClipTrimInfo> trimInfo;
    CRkRef<IRkClipElement> clip;  // null: there is no run to take
  };

  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  UINT _PlayLoop(HANDLE stopEvent);
  SRun _TakeRun() RK_EXCLUDES(m_lock);
  bool _DeliverToEnd(SRun& run, HANDLE stopEvent);
  void _Deliver(SRun& run, IRkAVPlaySample& sample);
  void _EndRun(const SRun& run);

  BOOL _StartRun(UINT startPosition, SRun run) RK_EXCLUDES(m_lock);
  void _TakeOverRanges();
  void _Show(IRkAVPlaySample& sample, UINT position) RK_EXCLUDES(m_lock);

  const SRkClipFormat m_format;
  const SRkPlayerWaits& m_waits;
  CRkRef<IRkPlayBufferPool> m_bufferPool;
  CRkRef<IRkClipOutputCallback> m_callback;
  CRkRef<IRkWorkerThread> m_thread;

  // Control thread only.
  CRkRef<IRkClipElement> m_clip;
  CRkRef<IRkClipTrimInfo> m_trimInfo;
  CRkTrimWalk::Ranges m_trimList;  // of m_trimInfo, without empty ranges

  CRkCriticalSection m_lock;
  UINT m_position RK_GUARDED_BY(m_lock) = 0;  // source position of the last sample shown
  UINT m_state RK_GUARDED_BY(m_lock) = RkPlayer_Stopped;
  bool m_stopping RK_GUARDED_BY(m_lock) = false;  // a Stop is waiting
  SRun m_nextRun RK_GUARDED_BY(m_lock);
};
