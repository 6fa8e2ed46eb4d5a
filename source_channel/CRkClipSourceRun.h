#pragma once

#include <optional>

#include "base/CRkRef.h"
#include "source_channel/CRkClipSourceChannel.h"

// One run of a source channel's worker, from start to stop: reads the list's elements in order into the
// cache, starts over after the last, and serves the control thread's orders between two frames.
//
// Lives and runs on the worker thread only; it meets other threads through the channel's locked fields.
//
//   reading --orders say paused--> paused --resumed--> reading
//   reading or paused --position requested--> one sample queued --> back
//   any --no element left--> idle until the stop event;  any --stop event--> finished
class CRkClipSourceRun {
 public:
  CRkClipSourceRun(CRkClipSourceChannel& channel, HANDLE stopEvent);

  void Produce();

 private:
  enum class ELeft { AtEnd, OnStop };

  void _FindStart();
  bool _OpenElement();
  ELeft _ReadElement();
  bool _ReadNext();
  bool _StartOver();
  bool _MoveOn();

  void _BeginPauseOrMove(const SRkWorkerOrders& orders);
  void _Serve(const SRkWorkerOrders& orders);
  bool _ServePosition(const SRkWorkerOrders& orders);
  bool _GoToElementAt(UINT position);
  void _ReportInterval();

  void _Queue(IRkAVPlaySample& sample, bool whilePaused);
  bool _IsEndOfList(IRkAVPlaySample& sample);
  bool _StopRequested(DWORD waitMs) const { return RkWait(m_stopEvent, waitMs); }

  CRkClipSourceChannel& m_channel;
  const HANDLE m_stopEvent;
  const CRkClipSourceChannel::SRunStart m_start;
  CRkRef<IRkClipElement> m_element;          // the one being read; opened while _ReadElement runs
  UINT m_offset = 0;                         // where reading begins in it
  std::optional<LONGLONG> m_lastPositioned;  // performance counter of the last positioned sample
  LONGLONG m_counterFrequency = 1;
};
