#pragma once

#include "contracts/IRkUnknown.h"

class IRkAVPlaySample;

// The interfaces that a host implements and hands to the module, which holds one reference to each for
// as long as it keeps the pointer. Operations with a body are those that the module does not call.

// Memory for one plane of a picture. It goes back to its pool with its last reference.
class IRkPlayBuffer : public IRkUnknown {
 public:
  virtual BYTE* GetData() = 0;
  virtual UINT GetCapacity() = 0;  // bytes
};

// The host's picture memory. The module only passes it on, to clip elements and to the sample hook, on
// its worker threads; several may ask at once.
class IRkPlayBufferPool : public IRkUnknown {
 public:
  // A buffer of at least `bytes`, 64-byte aligned, contents undefined; must not block. A pool that gives
  // none (FALSE) leaves the clip element to use memory of its own.
  virtual BOOL GetBuffer(UINT bytes, IRkPlayBuffer** buffer) {
    (void)bytes;
    (void)buffer;
    return FALSE;
  }
};

// The sink of the clip source player.
class IRkClipOutputCallback : public IRkUnknown {
 public:
  // On the player's worker thread, once when a run begins.
  virtual void OnPlayStart() = 0;
  // On the worker thread during a run, and on the thread that calls Seek or Open. The sample is borrowed.
  virtual void OnPlaySample(IRkAVPlaySample* sample) = 0;
  // On the worker thread, once when the run has ended.
  virtual void OnPlayEnd() = 0;
};

// The sink of the output channel: called on the host's own threads, from inside the operation that
// causes the call, with the channel's locks held. It may call back into the channel on the same thread;
// it must not wait for another thread that uses the channel, and must not release the last reference.
class IRkClipOutputChannelNotify : public IRkUnknown {
 public:
  // TRUE: the Waiting channel holds no started clip any more. FALSE: it was cleared and is being loaded.
  virtual void OnWaitingChannelFree(BOOL free) = 0;
  virtual void Operation2() {}
  // FALSE: playback has started. TRUE: it was stopped, or the playing list ended with nothing waiting.
  virtual void OnPlayEnd(BOOL ended) = 0;
  virtual void Operation4() {}
  // The playing list has ended: non-zero to go on with the Waiting channel at once, 0 to wait for
  // SwitchPlay. Asked with no lock of the channel held, or with both.
  virtual BOOL IsAutoSwitch() = 0;
};

// A hook that sees every sample of a source channel before it is cached. It is called on the channel's
// worker thread with no lock held; it must not stop or release the channel.
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
