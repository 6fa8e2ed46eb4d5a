#pragma once

#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"

// The sink of the software output device. Samples are borrowed for the call.
class IRkSoftwareOutputCallback : public IRkUnknown {
 public:
  // By Play, on the caller's thread, before the clock starts.
  virtual void OnPlay() = 0;
  // On the pacing thread, for every frame of audio just written, silence included. `extra` (may be null)
  // is the item that travelled with the sample. The audio is reused for the next frame.
  virtual void OnAudioSample(IRkAudioSample* audio, IRkUnknown* extra) = 0;
  // On the video thread for every frame to be shown, one that is early again at each later moment up to its
  // own; on the host's by PutSample while stopped and by Stop. Null = show no picture.
  virtual void OnVideoSample(IRkVideoSample* video) = 0;
  // By Stop, after the threads have ended.
  virtual void OnStop() = 0;
};

// Plays samples for monitoring: hands each picture to the callback when it is due, mixes the audio to
// 16-bit stereo and plays it. The audio renderer's position is the clock, or a soft clock without audio.
//
// Threads: the host calls the operations from one thread at a time. The last Release tells both workers to
// end and waits up to 2 s for each: the host must not make it while a call to a callback that may block for
// longer is under way, which would come back to a device that is gone.
class IRkSoftwareOutputDevice : public IRkUnknown {
 public:
  // Both return at once: each worker may still be in its last call to the callback of before, or about to
  // make it. SetOutputCallback gives TRUE when one is set now.
  virtual BOOL SetOutputCallback(IRkSoftwareOutputCallback* callback) = 0;
  virtual void RemoveOutputCallback() = 0;
  virtual BOOL Play() = 0;  // TRUE; without effect while playing
  // Plays out the queued audio (with pictures alone: jumps to the last frame), for up to 5 s, and then ends
  // the workers, each of which may take 5 s more to return from a callback. clearVideo: ends with
  // OnVideoSample(null). TRUE.
  virtual BOOL Stop(BOOL clearVideo) = 0;
  virtual BOOL IsPlaying() = 0;
  // Copies the sample into the device's pool; blocks while that is exhausted, which holds the host to
  // playing speed. While stopped, only shows the picture. FALSE for null, or without memory for the copy.
  virtual BOOL PutSample(IRkAVPlaySample* sample) = 0;
};
