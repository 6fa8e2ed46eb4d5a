#pragma once

#include "contracts/IRkUnknown.h"

class IRkAVPlaySample;

// The interfaces that a host implements and hands to the module, which holds one reference to each for as
// long as it keeps the pointer. Operations with a body are those that the module does not call. None may
// throw. Each interface lists what its operations may do on the module's threads and what they must not.
//
// A clip element (RkClipCore.h) of the host's own, on the thread that reads it
//   may       block, which delays its channel's Stop; take memory from the pool; log;
//   must not  call the channel or player that plays it, nor an output channel at all: delivery waits for
//             this worker, so a call that waits for delivery stalls both until a time-out;
//   must not  call the list that holds it from GetFrameCount, which runs under the list's lock.

// Memory for one plane of a picture. Its last Release returns it to its pool, on any thread.
class IRkPlayBuffer : public IRkUnknown {
 public:
  virtual BYTE* GetData() = 0;
  virtual UINT GetCapacity() = 0;  // bytes
};

// The host's picture memory. The module only passes it on, to clip elements and to the sample hook, on its
// worker threads; several may call GetBuffer simultaneously.
//   may       give no buffer;
//   must not  block, nor call the module.
class IRkPlayBufferPool : public IRkUnknown {
 public:
  // A buffer of at least `bytes`, 64-byte aligned, contents undefined; its reference belongs to the caller.
  // FALSE, with `buffer` as it was, when the pool gives none: the clip element then uses memory of its own.
  virtual BOOL GetBuffer(UINT bytes, IRkPlayBuffer** buffer) {
    (void)bytes;
    (void)buffer;
    return 0;
  }
};

// The callback of the clip source player. No lock of the player is held.
//   may       block, which paces the player; call the player's GetPosition and GetState; keep references to
//             the sample or to its parts;
//   must not  call the player's other operations, nor release its last reference.
class IRkClipOutputCallback : public IRkUnknown {
 public:
  // On the player's worker thread, once when a run begins.
  virtual void OnPlayStart() = 0;
  // On the worker thread during a run, and on the thread that calls Seek or Open. The sample is borrowed.
  virtual void OnPlaySample(IRkAVPlaySample* sample) = 0;
  // On the worker thread, once when the run has ended.
  virtual void OnPlayEnd() = 0;
};

// The sink of the output channel: called on the host's own threads, from inside the operation that causes
// the call, with the channel's locks held.
//   may       call back into the channel on the same thread;
//   must not  call SwitchPlay, which waits for a SwitchChannel that cannot come; wait for another thread that
//             uses the channel; release the channel's last reference.
class IRkClipOutputChannelNotify : public IRkUnknown {
 public:
  // TRUE: the Waiting channel holds no started clip. FALSE: it was cleared and is being loaded.
  virtual void OnWaitingChannelFree(BOOL free) = 0;
  virtual void Operation2() {}
  // FALSE: playback has started. TRUE: it was stopped, or the playing list ended with nothing waiting.
  virtual void OnPlayEnd(BOOL ended) = 0;
  virtual void Operation4() {}
  // The playing list has ended: non-zero to switch to the Waiting channel immediately, 0 to stay on the ended
  // list unless a SwitchPlay request is pending. Each call of SwitchChannel asks again, so a later answer
  // may differ. Called with no lock of the channel held, or with both.
  virtual BOOL IsAutoSwitch() = 0;
};

// A hook that receives every sample of a source channel before it is cached, on the channel's worker thread
// with no lock held.
//   may       change the sample and its parts; take memory from the pool, which is borrowed and may be null;
//             block, which slows reading ahead; replace or remove itself on a source channel of the host's;
//   must not  call the output channel: delivery may hold its locks while it waits for this worker, and both
//             then stall until GetSample's time-out;
//   must not  stop, restart, pause or seek its channel, nor release the channel's last reference.
class IRkClipSampleProcessor : public IRkUnknown {
 public:
  virtual void Operation1() {}
  virtual void ProcessSample(IRkAVPlaySample* sample, IRkPlayBufferPool* pool) = 0;
  virtual void Operation3() {}
  virtual void Operation4() {}
  virtual void Operation5() {}
  virtual void Operation6() {}
  virtual void Operation7() {}
  // After each sample queued for a positioning request: whole seconds since the previous one.
  virtual void ReportSeekInterval(UINT seconds) = 0;
};
