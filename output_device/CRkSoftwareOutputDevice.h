#pragma once

#include <atomic>

#include "base/CRkLockedRef.h"
#include "base/CRkPoolElement.h"
#include "base/CRkUnknown.h"
#include "output_device/CRkAudioFrameBuilder.h"
#include "output_device/CRkSampleQueue.h"
#include "output_device/CRkShownFrame.h"
#include "output_device/IRkSoftwareOutputDevice.h"

// Plays submitted samples for monitoring. Owns its sample pool, which bounds what is in flight and holds
// the host to playing speed, two queues, the renderer or soft clock, and two worker threads: the pacing
// thread (CRkAudioPacing or CRkClockPacing) and the video thread (CRkVideoPresenter).
//
// Threads: the host's, one at a time, and the two workers, which run between Play and Stop. They meet in
// the queues, the shown frame and the callback, each with a leaf lock of its own; the device has none.
// The destructor waits at most 2 s for each worker. A callback that blocks for longer returns to a device
// that is gone: the host must not make the last release before the callback has returned.
//
//                        audio mode                            pictures only
//   chosen when          there are channels and a renderer     otherwise
//   paced by             the renderer's play position          the soft clock's ticks
//   PutSample queues     a copy, and its video or the marker   a video sample sharing the planes
//   at Stop              queued audio is played out            the last frame is shown immediately
class CRkSoftwareOutputDevice final : public CRkUnknown<IRkSoftwareOutputDevice> {
 public:
  CRkSoftwareOutputDevice() = default;
  ~CRkSoftwareOutputDevice() override;

  // Once, right after construction. FALSE for a frame rate outside the table, a queue depth below 1, and
  // where anything but the renderer cannot be created.
  BOOL _Initialize(const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format, HWND window,
                   int queueDepth);

  BOOL SetOutputCallback(IRkSoftwareOutputCallback* callback) override;
  void RemoveOutputCallback() override;
  BOOL Play() override;
  BOOL Stop(BOOL clearVideo) override;
  BOOL IsPlaying() override { return m_playing; }
  BOOL PutSample(IRkAVPlaySample* sample) override;

 private:
  // Queued in place of a picture when a sample has none. The device keeps a reference to its only one,
  // which is never destroyed before the device.
  class _CRkMarker final : public CRkPoolElement<IRkVideoSample> {
   public:
    BOOL GetBuffer(UINT, IRkUnknown**) override { return FALSE; }
    UINT GetFrameIndex() override { return kRkNoPosition; }
    void SetBuffer(UINT, IRkUnknown*) override {}
    void SetFrameIndex(UINT) override {}
  };

  static UINT _ClockThreadProc(void* context, HANDLE exitEvent);
  static UINT _VideoThreadProc(void* context, HANDLE exitEvent);

  BOOL _CreateRenderer(const SRkWaveFormatInfo& format, HWND window, int queueDepth);
  BOOL _CreateQueues(int queueDepth);
  BOOL _CreateEvents();
  BOOL _CreateThread(CRkRef<IRkWorkerThread>& thread, RkThreadProc proc);
  static void _StopThread(IRkWorkerThread& thread);

  void _ShowWhileStopped(IRkAVPlaySample& sample);
  BOOL _PutWithAudio(IRkAVPlaySample& sample);
  BOOL _PutPicture(IRkAVPlaySample& sample);
  void _QueueVideoOf(IRkAVPlaySample& copy, UINT frame);
  static void _Push(CRkSampleQueue& queue, IRkUnknown* item);

  int m_frameRate = RkFrameRate_25;
  SRkWaveFormatInfo m_outputFormat = {};
  int m_audioLead = 0;  // frames kept written ahead of the play position, 1 to 5; 0 without audio
  std::atomic<BOOL> m_playing = FALSE;

  CRkRef<IRkAudioDirectSound> m_audioRenderer;  // null: pictures only
  CRkRef<IRkSoftRefClock> m_clock;              // null: with audio
  CRkRef<IRkAVPlaySamplePool> m_samplePool;
  CRkRef<IRkUnknown> m_heldElement;  // a pool sample kept out of use between Play and Stop
  CRkRef<IRkWorkerThread> m_audioThread;
  CRkRef<IRkWorkerThread> m_videoThread;

  CRkHandle m_stopEvent;       // the threads are asked to finish; stays set until the next Play
  CRkHandle m_audioDoneEvent;  // the pacing thread has finished
  CRkHandle m_videoDoneEvent;  // the video thread has finished

  CRkLockedRef<IRkSoftwareOutputCallback> m_callback;
  CRkShownFrame m_shownFrame;
  CRkAudioFrameBuilder m_audioBuilder;  // the pacing thread's
  _CRkMarker m_marker;
  bool m_markerIsNewest = false;  // the newest entry given to the video queue is the marker
  CRkSampleQueue m_audioQueue;
  CRkSampleQueue m_videoQueue;
};
