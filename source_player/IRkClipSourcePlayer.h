#pragma once

#include "contracts/RkClipCore.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"

// The results of GetState.
enum ERkPlayerState : UINT { RkPlayer_Playing = 0, RkPlayer_Stopped = 4 };

// Plays one clip to the host's callback: whole or only inside its trim ranges, once or looped. Positions are
// frame indices on the clip's source timeline.
//
// Threads: the host calls the control operations from one thread at a time, and GetPosition and GetState from
// any. Samples of a run are delivered on the player's worker thread. The last Release stops a run, and waits
// as Stop does.
class IRkClipSourcePlayer : public IRkUnknown {
 public:
  // Closes an open clip, opens this one, takes over its trim information and shows frame 0 through
  // OnPlaySample on the calling thread. FALSE for null, which changes nothing, and for a clip that cannot be
  // opened, after which none is open.
  virtual BOOL Open(IRkClipElement* clip) = 0;
  // Stops a run and closes the clip. The player drops its trim information.
  virtual void Close() = 0;
  // Stops a run, and copies the ranges for the next PlayTrimmed; the caller keeps its object. FALSE, and no
  // change, for null or without a clip; FALSE also without memory.
  virtual BOOL SetTrimInfo(IRkClipTrimInfo* info) = 0;
  // Starts a run of the whole clip and returns immediately. TRUE without effect while playing, FALSE without
  // a clip.
  virtual BOOL Play(UINT startPosition, BOOL loop) = 0;
  // As Play, inside the trim ranges only: from the first presented position at or after startPosition, or
  // from the first range when there is none. Without ranges the whole clip plays. FALSE also without memory.
  virtual BOOL PlayTrimmed(UINT startPosition, BOOL loop) = 0;
  // Waits up to 5000 ms for the run to end.
  virtual void Stop() = 0;
  // Stops a run, and shows one frame through OnPlaySample on the calling thread. FALSE without a clip, for a
  // position past its end, and when the frame cannot be read.
  virtual BOOL Seek(UINT position) = 0;
  // The position of the last sample shown; from Play until the first sample, the start position.
  virtual UINT GetPosition() = 0;
  virtual UINT GetState() = 0;  // an ERkPlayerState
};
