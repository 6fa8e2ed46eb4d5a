#pragma once

#include "base/CRkLockedRef.h"
#include "output_device/CRkSampleQueue.h"
#include "output_device/CRkShownFrame.h"
#include "output_device/IRkSoftwareOutputDevice.h"

// Takes frames from the video queue and hands the due one to the callback, between a Play and its Stop.
// Lives on the video thread only.
//
//   exit event   -> ends
//   stop event   -> ends when the queue is empty, else another pass a millisecond later
//   frame event  -> one pass: late frames are dropped unseen, except the newest where nothing newer is
//                   queued; an early frame is shown and held until its turn has passed; the marker
//                   blanks the picture when it is reached
class CRkVideoPresenter {
 public:
  // `marker` is queued where frames have no picture; known by its address.
  CRkVideoPresenter(CRkSampleQueue& queue, CRkShownFrame& shownFrame,
                    CRkLockedRef<IRkSoftwareOutputCallback>& callback, const IRkUnknown* marker)
      : m_queue(queue), m_shownFrame(shownFrame), m_callback(callback), m_marker(marker) {}

  // Until exitEvent or a failed wait; or until stopEvent with an empty queue, and only then sets doneEvent.
  void Run(HANDLE exitEvent, HANDLE stopEvent, HANDLE doneEvent);
  void FramePass();

 private:
  bool _TakeFrames(UINT due);
  void _Show(IRkVideoSample* video);

  CRkSampleQueue& m_queue;
  CRkShownFrame& m_shownFrame;
  CRkLockedRef<IRkSoftwareOutputCallback>& m_callback;
  const IRkUnknown* const m_marker;
  CRkRef<IRkVideoSample> m_current;  // held from pass to pass while it is early
};
