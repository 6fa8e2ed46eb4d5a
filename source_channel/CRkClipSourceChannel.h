#pragma once

#include "base/CRkUnknown.h"
#include "source_channel/CRkClipReader.h"
#include "source_channel/IRkClipSourceChannel.h"

// Plays one clip element list. Owns the list, the cache, the worker thread and, once the worker has opened
// it, the current element; holds a reference to the buffer pool and the sample hook.
//
// Threads: a control thread (every operation), the consumer (GetSample) and the worker (_ThreadProc, which
// runs a CRkClipReader). They meet in the cache, the orders, the progress, the settings and the current
// element. Each of these guards itself with a lock of its own, which it holds neither together with another
// nor across a wait or a call into an element or the hook.
class CRkClipSourceChannel final : public CRkUnknown<IRkClipSourceChannel> {
 public:
  // `waits` is borrowed for the channel's whole life.
  CRkClipSourceChannel(const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format,
                       const SRkChannelWaits& waits = g_rkChannelWaits);
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
  static UINT _ThreadProc(void* context, HANDLE stopEvent);
  UINT _ProduceSamples(HANDLE stopEvent);

  bool _CreateObjects(UINT cacheCapacity);
  void _ReleaseAll();
  UINT _PreRollTarget(UINT total, UINT startPosition, int repeatCount) const;
  bool _SetElementModes(UINT mode, IRkClipElement* asked);
  void _AwaitPause();

  const SRkChannelWaits& m_waits;
  CRkRef<CRkClipSampleCache> m_cache;
  CRkRef<IRkClipElementList> m_list;
  CRkRef<IRkWorkerThread> m_thread;
  CRkPendingOrders m_orders;
  CRkSourceProgress m_progress;
  SRkSourceSettings m_settings;
  CRkLockedRef<IRkClipElement> m_currentElement;
  UINT m_preRollCount = 0;  // set once
};
