#pragma once

#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"

// What SwitchChannel found or did.
enum ERkSwitchStatus : UINT {
  RkSwitchStatus_Ended = 1,     // the list has ended and none was waiting
  RkSwitchStatus_Playing = 2,   // a list is playing; no switch was made
  RkSwitchStatus_Switched = 4,  // the Waiting channel has just become the Playing channel
  // The list has ended, IsAutoSwitch returned FALSE and no SwitchPlay request is pending. Each further call
  // asks the sink again, and follows its answer.
  RkSwitchStatus_AwaitingSwitch = 5,
};

// Plays clip lists one after the other without a gap: hands out the samples of its Playing channel while
// its Waiting channel, already loaded and read ahead, stands by to take over.
//
// Threads: any thread of the host may call any operation. The host calls GetSample and SwitchChannel in
// turn; the end of a list and requested switches are acted on only in SwitchChannel, and so always fall
// between two samples. SwitchPlay waits for that call and so needs another thread. Notifications come on
// the calling thread, from inside the operation, and may call back into the channel. Loading never holds
// up GetSample or a SwitchChannel that has nothing to act on. The last Release ends all workers.
class IRkClipOutputChannel : public IRkUnknown {
 public:
  // Settings reach all three source channels.
  virtual BOOL SetSampleProcessor(IRkClipSampleProcessor* processor) = 0;  // FALSE, and no change, for null
  virtual void RemoveSampleProcessor() = 0;
  virtual void SetVideoResolution(const SRkVideoResolution& resolution) = 0;
  virtual void SetWaveFormatInfo(const SRkWaveFormatInfo& format) = 0;
  virtual BOOL SetPlayBufferPool(IRkPlayBufferPool* pool) = 0;  // null too; TRUE

  // The Playing channel's next sample, its reference for the caller; waits up to timeoutMs. FALSE when
  // none came; then call SwitchChannel, because a list may end without a further sample. Where positions
  // jump at a 1001 rate, a copy of the sample may come whose sound is one audio sample longer or shorter.
  virtual BOOL GetSample(DWORD timeoutMs, IRkAVPlaySample** sample) = 0;
  // Moves the cued list to the Playing channel if that is empty. FALSE when nothing is loaded at all.
  virtual BOOL Play() = 0;
  virtual BOOL Stop() = 0;                           // stops and empties all three channels; TRUE
  virtual void SetRepeatCount(int repeatCount) = 0;  // of the playing and the cued list alike

  // Paused single-frame mode of the Playing channel: see IRkClipSourceChannel. A Seek holds up GetSample and
  // switches until it returns: with a time-out while the channel plays, a full cache makes that the whole
  // time-out. Seek between BeginSeek and EndSeek, or give a time-out of 0.
  virtual BOOL BeginSeek(UINT mode) = 0;
  virtual BOOL Seek(UINT position, DWORD timeoutMs) = 0;
  virtual void EndSeek() = 0;

  // Of the Playing channel, or of the Waiting channel (and then after a load in progress).
  virtual UINT GetElementMode(BOOL ofPlaying) = 0;
  virtual void SetElementMode(BOOL ofPlaying, UINT mode, UINT position) = 0;

  virtual BOOL GetPosition(UINT* position) = 0;  // of the sample taken last; TRUE

  // Acts on the end of the playing list and on requests of SwitchPlay, and writes an ERkSwitchStatus. At the
  // end of a list it asks the sink IsAutoSwitch, once a call; without a sink the switch is automatic. FALSE
  // when playback ended, or a request found nothing waiting. Each further call finds the same end again; a
  // further sample taken from the list sets it playing again.
  virtual BOOL SwitchChannel(UINT* status) = 0;
  // Puts the cued list on air now, whatever plays. FALSE when nothing is waiting.
  virtual BOOL SwitchChannelAtOnce() = 0;
  virtual UINT Reserved() = 0;  // does nothing; 0

  // Cues a list, or one element, in place of what was cued, and starts reading it at startPosition; waits
  // up to 1000 ms for the pre-roll. The elements must not be in use elsewhere; those of a list that
  // has ended are in use until its channel is loaded again, DeleteClip or Stop. FALSE for nothing to load (a
  // cued clip stays) or a start past the end (the Waiting channel is then empty).
#ifdef _MSC_VER
  // This compiler lays adjacent overloads in reverse; the list's comes first in the table.
  virtual BOOL InsertClipElement(IRkClipElement* element, int repeatCount, UINT startPosition) = 0;
  virtual BOOL InsertClipElement(IRkClipElementList* list, int repeatCount, UINT startPosition) = 0;
#else
  virtual BOOL InsertClipElement(IRkClipElementList* list, int repeatCount, UINT startPosition) = 0;
  virtual BOOL InsertClipElement(IRkClipElement* element, int repeatCount, UINT startPosition) = 0;
#endif
  virtual BOOL DeleteClip() = 0;  // stops and empties the Waiting channel; TRUE

  // Asks for a switch and waits up to 5000 ms until SwitchChannel has handled it; TRUE with the Playing
  // channel's position at that moment, also when nothing was waiting. After FALSE the request stands.
  virtual BOOL SwitchPlay(UINT* position) = 0;
};
