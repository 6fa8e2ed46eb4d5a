#pragma once

#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"

// What GetStatus reports.
enum ERkSourceChannelStatus : UINT {
  RkSourceChannel_Constructed = 0,
  RkSourceChannel_Stopped = 1,  // also once the last sample of the final pass has been taken
  RkSourceChannel_Playing = 2,
};

// Plays one list of clip elements: a worker thread reads ahead into a bounded cache, the consumer takes
// samples out. Positions are frame indices on the list's timeline; kRkNoPosition stands for none.
//
// Threads: one control thread at a time calls the operations; GetSample may run on another thread beside
// them, and GetPosition, GetStatus and the setters on any. The last Release stops the worker and waits
// for it, up to 101 s: the host must not make it while an element would block for longer.
//
//   status:  0 --initialised--> 1 --Play--> 2 --last sample of the last pass taken--> 1
//            any --Stop--> 1;  1 --any other sample taken--> 2 (the worker reads on after the end)
class IRkClipSourceChannel : public IRkUnknown {
 public:
  // The hook sees every sample on the worker thread before it is cached. FALSE, and no change, for null.
  virtual BOOL SetSampleProcessor(IRkClipSampleProcessor* processor) = 0;
  virtual void RemoveSampleProcessor() = 0;
  // Elements opened from now on receive the new format or pool; the pool may be null.
  virtual void SetVideoResolution(const SRkVideoResolution& resolution) = 0;
  virtual void SetWaveFormatInfo(const SRkWaveFormatInfo& format) = 0;
  virtual BOOL SetPlayBufferPool(IRkPlayBufferPool* pool) = 0;  // TRUE when a pool is now set

  // Waits up to timeoutMs for the next sample; its reference belongs to the caller. Sets position and
  // status. FALSE, and nothing changes, when none came.
  virtual BOOL GetSample(UINT timeoutMs, IRkAVPlaySample** sample) = 0;

  // Starts reading at startPosition and waits up to 1000 ms for the pre-roll. repeatCount: how often the
  // list plays; kRkRepeatEndless for ever, any other value below 1 counts as 1. FALSE, and nothing
  // changes, for a start at or past the list's total. A running worker is restarted, not waited for.
  virtual BOOL Play(UINT startPosition, int repeatCount) = 0;
  // Waits for the worker to return from what it reads; afterwards nothing of the run is left. TRUE.
  virtual BOOL Stop() = 0;
  // Acts on what is not yet delivered.
  virtual void SetRepeatCount(int repeatCount) = 0;

  // Paused single-frame mode: after BeginSeek (at most 1000 ms, always TRUE) nothing is produced but the
  // frame of each Seek. Every element gets the mode. Ended by EndSeek, Play, Stop or SetElementMode.
  virtual BOOL BeginSeek(UINT mode) = 0;
  // Asks for the sample at a position. While paused it waits until that sample is in the cache, while
  // playing until the worker has taken the request; timeoutMs 0 does not wait and gives TRUE. FALSE for
  // a position past the end, and when the wait ran out. Samples cached before still come out first.
  virtual BOOL Seek(UINT position, UINT timeoutMs) = 0;
  // Reading goes on where the current element stands.
  virtual void EndSeek() = 0;

  virtual UINT GetElementMode() = 0;  // of the first element; 0 without one
  // Gives every element the mode. When that changed the current element, or a position is given, the
  // cache is emptied and the current element goes on from that offset in it (0 without a position).
  virtual void SetElementMode(UINT mode, UINT position) = 0;

  virtual UINT Activate() = 0;                   // does nothing; 0
  virtual BOOL GetPosition(UINT* position) = 0;  // of the sample taken last; TRUE
  virtual void GetStatus(UINT* status) = 0;      // an ERkSourceChannelStatus

  // The element list. Stop the channel before editing it.
  // FALSE for null, an index past the end, an element that is in the list, or without memory.
  virtual BOOL InsertElement(UINT index, IRkClipElement* element) = 0;
  virtual BOOL ForwardListOperation(UINT index) = 0;  // removes the element at index; FALSE past the last
  virtual BOOL RemoveAllElements() = 0;               // TRUE
  virtual int GetElementCount() = 0;
  virtual UINT Reserved() = 0;  // does nothing; 0
  // The element that holds the position, its reference for the caller. FALSE past the end.
  virtual BOOL GetElementAtPosition(UINT position, IRkClipElement** element) = 0;
};
