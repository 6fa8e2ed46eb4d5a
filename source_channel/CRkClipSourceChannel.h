#pragma once

#include <atomic>

#include "base/CRkCriticalSection.h"
#include "base/CRkLockedRef.h"
#include "base/CRkUnknown.h"
#include "base/RkMonotonicTime.h"
#include "source_channel/CRkClipSampleCache.h"
#include "source_channel/CRkWorkerOrders.h"
#include "source_channel/IRkClipSourceChannel.h"

// What travels with each sample through the cache, packed into the cache's tag.
struct SRkSampleTag {
  bool endOfList;    // the last frame of the list's last element
  bool whilePaused;  // asked for while paused: showing it plays nothing
  UINT run;          // the worker's run that read it

  LONG Pack() const;
  static SRkSampleTag Unpack(LONG tag);
};

// Plays one clip element list: owns the list, the cache, the worker thread and, since the worker opened
// it, the current element; holds a reference to the buffer pool and the sample hook.
//
// Threads: a control thread (every operation), the consumer (GetSample) and the worker (_ThreadProc,
// which is CRkClipSourceRun). They meet in the cache, in the orders, and in the fields below.
// Locks: the request lock guards the course of play, the settings lock the format; the three shared
// references guard themselves. None is held together with another lock, nor across a wait or a call into
// an element, the hook or the cache.
//
// Passes are counted where they are delivered, since the worker may be ahead by more than a list or
// behind the consumer. Every run has a number that its samples carry: what an earlier run left behind, a
// sample on its way to the cache while it was flushed, is never delivered.
class CRkClipSourceChannel final : public CRkUnknown<IRkClipSourceChannel> {
 public:
  CRkClipSourceChannel(const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format);
  ~CRkClipSourceChannel() override;

  // Once, right after construction.
  BOOL _Initialize(UINT preRollCount, UINT cacheCapacity, IRkPlayBufferPool* pool);

  BOOL SetSampleProcessor(IRkClipSampleProcessor* processor) override;
  void RemoveSampleProcessor() override;
  void SetVideoResolution(const SRkVideoResolution& resolution) override;
  void SetWaveFormatInfo(const SRkWaveFormatInfo& format) override;
  BOOL SetPlayBufferPool(IRkPlayBufferPool* pool) override;
  BOOL GetSample(UINT timeoutMs, IRkAVPlaySample** sample) override;
  BOOL Play(UINT startPosition, int repeatCount) override;
  BOOL Stop() override;
  void SetRepeatCount(int repeatCount) override;
  BOOL BeginSeek(UINT mode) override;
  BOOL Seek(UINT position, UINT timeoutMs) override;
  void EndSeek() override;
  UINT GetElementMode() override;
  void SetElementMode(UINT mode, UINT position) override;
  UINT Activate() override { return 0; }
  BOOL GetPosition(UINT* position) override;
  void GetStatus(UINT* status) override;
  BOOL InsertElement(UINT index, IRkClipElement* element) override;
  BOOL ForwardListOperation(UINT index) override;
  BOOL RemoveAllElements() override;
  int GetElementCount() override;
  UINT Reserved() override { return 0; }
  BOOL GetElementAtPosition(UINT position, IRkClipElement** element) override;

 private:
  friend class CRkClipSourceRun;

  // Where a run begins, and its number.
  struct SRunStart {
    UINT position;
    UINT number;
  };

  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  UINT _ProduceSamples(HANDLE stopEvent);

  bool _CreateObjects(UINT cacheCapacity);
  void _ReleaseAll();
  UINT _PreRollTarget(UINT total, UINT startPosition, int repeatCount) const;
  bool _TakeOfThisRun(const CRkDeadline& deadline, IRkAVPlaySample** sample);
  bool _Deliver(UINT position, const SRkSampleTag& tag) RK_EXCLUDES(m_requestLock);
  void _CountPass() RK_REQUIRES(m_requestLock);
  bool _SetElementModes(UINT mode);
  void _AwaitPause();

  SRunStart _RunStart() RK_EXCLUDES(m_requestLock);
  SRkClipFormat _Format() RK_EXCLUDES(m_settingsLock);

  CRkRef<CRkClipSampleCache> m_cache;
  CRkRef<IRkClipElementList> m_list;
  CRkRef<IRkWorkerThread> m_thread;
  CRkWorkerOrders m_orders;
  UINT m_preRollCount = 0;

  CRkLockedRef<IRkClipElement> m_currentElement;
  CRkLockedRef<IRkPlayBufferPool> m_pool;
  CRkLockedRef<IRkClipSampleProcessor> m_sampleHook;

  std::atomic<UINT> m_status = RkSourceChannel_Constructed;
  std::atomic<UINT> m_position = 0;  // of the sample taken last

  CRkCriticalSection m_requestLock;
  UINT m_startPosition RK_GUARDED_BY(m_requestLock) = 0;
  UINT m_run RK_GUARDED_BY(m_requestLock) = 0;
  int m_repeatCount RK_GUARDED_BY(m_requestLock) = 1;
  int m_loopCounter RK_GUARDED_BY(m_requestLock) = 0;  // passes delivered, at most the repeat count

  CRkCriticalSection m_settingsLock;
  SRkClipFormat m_format RK_GUARDED_BY(m_settingsLock);
};
