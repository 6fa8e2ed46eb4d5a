#pragma once

#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"

// The results of GetStatus.
enum ERkSourceChannelStatus : UINT {
  RkSourceChannel_Constructed = 0,
  RkSourceChannel_Stopped = 1,  // also once the last sample of the final pass has been taken
  RkSourceChannel_Playing = 2,
};

// Plays one list of clip elements: a worker thread reads ahead into a bounded cache, the consumer takes
// samples from it. Positions are frame indices on the list's timeline; kRkNoPosition stands for none.
//
// Threads: one control thread at a time calls the operations; GetSample may run on another thread beside
// them, and GetPosition, GetStatus and the setters on any. The last Release stops the worker and waits
// for it, up to 101 s: the host must not make it while an element would block for longer.
//
// A pass ends with the sample at the last position of the last element. If that sample never comes (the
// element is empty, cannot be opened or ends early), the pass ends with the sample before it, once the worker
// has looked for the next: a list with N passes always delivers N times what can be read. A list with N
// passes of which nothing can be read stops by itself; an endless one is tried once a millisecond.
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
  // status. FALSE, and a null sample, when none came. When the worker finds the end of the last pass only
  // after its last sample was taken, one call returns FALSE early and the status is Stopped.
  virtual BOOL GetSample(UINT timeoutMs, IRkAVPlaySample** sample) = 0;

  // Starts reading at startPosition and waits up to 1000 ms for the pre-roll. repeatCount: the number of
  // passes; kRkRepeatEndless has no end, any other value below 1 counts as 1. FALSE, and nothing
  // changes, for a start at or past the list's total. Restarts a running worker without waiting for it.
  virtual BOOL Play(UINT startPosition, int repeatCount) = 0;
  // Waits, up to 100 s, for the worker to return from its read; drops every sample and order. TRUE.
  virtual BOOL Stop() = 0;
  // Holds for the samples that are not yet delivered.
  virtual void SetRepeatCount(int repeatCount) = 0;

  // Enters the paused single-frame mode, in which the worker produces only the frame of each Seek. Waits up
  // to 1000 ms, gives every element the mode and returns TRUE. EndSeek, Play, Stop and SetElementMode leave
  // it.
  virtual BOOL BeginSeek(UINT mode) = 0;
  // Requests the sample at a position. While paused, waits until that sample is in the cache; while
  // playing, until the worker has taken the request. A timeoutMs of 0 returns TRUE without waiting. FALSE
  // for a position past the end and after a time-out. Samples already cached are delivered first.
  virtual BOOL Seek(UINT position, UINT timeoutMs) = 0;
  // Reading continues behind the frame read last.
  virtual void EndSeek() = 0;

  virtual UINT GetElementMode() = 0;  // of the first element; 0 without one
  // Gives every element the mode. When that changes the current element's, or a position is given, empties
  // the cache and continues the current element at that offset (0 without a position); waits up to 1000 ms.
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
