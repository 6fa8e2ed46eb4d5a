#pragma once

#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"

// The sink of the software output device. Samples are borrowed for the call. No lock of the device is held.
//   may       keep references to pictures; block, which makes later pictures late; set or remove the
//   callback; must not  call the device's other operations, nor release its last reference.
class IRkSoftwareOutputCallback : public IRkUnknown {
 public:
  // By Play, on the caller's thread, before the clock starts.
  virtual void OnPlay() = 0;
  // On the pacing thread, for every frame of audio just written, silence included. `extra` (may be null)
  // is the item that travelled with the sample. The audio is reused for the next frame.
  virtual void OnAudioSample(IRkAudioSample* audio, IRkUnknown* extra) = 0;
  // On the video thread for every frame to be shown; an early frame is repeated at every pass up to its own
  // time. On the host's thread by PutSample while stopped, and by Stop. Null = show no picture.
  virtual void OnVideoSample(IRkVideoSample* video) = 0;
  // By Stop, after the threads have ended.
  virtual void OnStop() = 0;
};

// Plays samples for monitoring: hands each picture to the callback when it is due, mixes the audio to
// 16-bit stereo and plays it. The audio renderer's position is the clock, or a soft clock without audio.
//
// Threads: the host calls the operations from one thread at a time. The last Release asks both workers to
// end and waits up to 2 s for each: the host must not make it while a callback is under way that may block
// for longer, since that would return to a device that is gone.
class IRkSoftwareOutputDevice : public IRkUnknown {
 public:
  // Both return immediately: each worker may still make, or be in, one call to the previous callback.
  // SetOutputCallback returns TRUE when one is set now.
  virtual BOOL SetOutputCallback(IRkSoftwareOutputCallback* callback) = 0;
  virtual void RemoveOutputCallback() = 0;
  virtual BOOL Play() = 0;  // TRUE; without effect while playing
  // Plays out the queued audio, or jumps to the last frame without audio, in at most 5 s. Then ends the
  // workers, each of which may take 5 s more to return from a callback. clearVideo: ends with
  // OnVideoSample(null). TRUE.
  virtual BOOL Stop(BOOL clearVideo) = 0;
  virtual BOOL IsPlaying() = 0;
  // Copies the sample into the device's pool; blocks while that is exhausted, which holds the host to
  // playing speed. While stopped, only shows the picture. FALSE for null, or without memory for the copy.
  virtual BOOL PutSample(IRkAVPlaySample* sample) = 0;
};
