#pragma once

#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"

// What GetState reports.
enum ERkPlayerState : UINT { RkPlayer_Playing = 0, RkPlayer_Stopped = 4 };

// Plays one clip to the host's callback: whole, or only inside its trim ranges, and looped if asked.
// Positions are frame indices on the clip's source timeline.
//
// Threads: the host calls the control operations from one thread at a time; GetPosition and GetState may
// be called from any. A run delivers on the player's worker thread. The last Release ends it.
class IRkClipSourcePlayer : public IRkUnknown {
 public:
  // Closes what is open, takes over the clip and its trim information, and shows frame 0 through
  // OnPlaySample. FALSE for null, which changes nothing, and for a clip that cannot be opened: then none is.
  virtual BOOL Open(IRkClipElement* clip) = 0;
  virtual void Close() = 0;
  // Replaces the ranges for the next PlayTrimmed, stopping a run. The object stays the caller's. FALSE for
  // null or without a clip.
  virtual BOOL SetTrimInfo(IRkClipTrimInfo* info) = 0;
  // TRUE without effect while playing, FALSE without a clip.
  virtual BOOL Play(UINT startPosition, BOOL loop) = 0;
  // Only the trim ranges, from the first presented position at or after startPosition, or from the
  // beginning when there is none. FALSE also without memory.
  virtual BOOL PlayTrimmed(UINT startPosition, BOOL loop) = 0;
  // Waits up to 5000 ms for the run to end.
  virtual void Stop() = 0;
  // Stops a run and shows one frame on the calling thread. FALSE without a clip, past its end, or when
  // the frame cannot be read.
  virtual BOOL Seek(UINT position) = 0;
  virtual UINT GetPosition() = 0;  // of the sample shown last
  virtual UINT GetState() = 0;     // an ERkPlayerState
};
