#pragma once

#include <optional>

#include "base/CRkLockedRef.h"
#include "contracts/RkClipCore.h"
#include "source_channel/CRkClipSampleCache.h"
#include "source_channel/CRkPendingOrders.h"
#include "source_channel/CRkSourceProgress.h"
#include "source_channel/SRkChannelWaits.h"
#include "source_channel/SRkSourceSettings.h"

// The parts of a source channel that its reader works with. Each guards itself; the channel owns them.
struct SRkReaderParts {
  IRkClipElementList& list;
  CRkClipSampleCache& cache;
  CRkPendingOrders& orders;
  CRkSourceProgress& progress;
  SRkSourceSettings& settings;
  CRkLockedRef<IRkClipElement>& currentElement;  // the one opened last
  const SRkChannelWaits& waits;
};

// Reads the list's elements in order into the cache, starts over after the last, and serves the control
// thread's orders between two frames: one object from the worker's start to its stop event. Only the
// worker thread enters.
//
//   reading --order to pause--> paused --resumed--> reading
//   reading or paused --position requested--> one sample queued --> back
//   any --no element left--> idle until the stop event;  any --stop event--> finished
//
// A pass ends with the sample that carries the last position of the last element. When that sample never
// comes (the element cannot be opened, is empty or ends early), starting over ends the pass instead, at the
// sample queued before it.
class CRkClipReader {
 public:
  CRkClipReader(const SRkReaderParts& parts, HANDLE stopEvent);

  void Read();

 private:
  enum class ELeft { AtEnd, OnStop };
  // The samples queued since the list began or a request moved the reader.
  struct SPass {
    bool isWhole = false;   // read from the first frame of the list
    bool hasFrame = false;  // queued at least one sample
    bool hasEnded = false;  // queued the sample that ends it
  };

  void _FindStart();
  bool _OpenElement();
  ELeft _ReadElement();
  DWORD _FrameWaitMs();
  bool _ReadNext();
  bool _StartOver();
  bool _MoveOn();
  void _EndPass();
  void _MarkPassEnd(bool nothingMore);

  void _BeginPauseOrMove(const SRkFrameOrder& order);
  void _Serve(const SRkFrameOrder& order);
  bool _ServePosition(const SRkFrameOrder& order);
  bool _GoToElementAt(UINT position);
  void _ReportInterval();

  void _Queue(IRkAVPlaySample& sample, bool whilePaused);
  bool _IsEndOfList(IRkAVPlaySample& sample);
  bool _StopRequested(DWORD waitMs) const { return RkWait(m_stopEvent, waitMs); }

  const SRkReaderParts m_parts;
  const HANDLE m_stopEvent;
  const UINT m_refillPlaces;
  const CRkSourceProgress::SStart m_start;
  CRkRef<IRkClipElement> m_element;  // the one being read; open while _ReadElement runs
  UINT m_offset = 0;                 // where reading begins in it
  UINT m_freeFrames = 0;             // to read without a wait before each
  SPass m_pass;
  bool m_isOddPass = false;
  bool m_isFruitless = false;  // the last pass gave no frame, nor has this one yet
  bool m_hasLoggedNothing = false;
  std::optional<LONGLONG> m_lastPositioned;  // when the last requested sample was queued
};
