#pragma once

#include "base/CRkLockedRef.h"
#include "output_device/CRkSampleQueue.h"
#include "output_device/CRkShownFrame.h"
#include "output_device/IRkSoftwareOutputDevice.h"

// One run of the video thread: takes frames from the queue and hands the due one to the callback. Lives
// on the video thread only.
//
//   exit event   -> over
//   stop event   -> over when the queue is empty, else another pass a millisecond later
//   frame event  -> one pass: what is late is dropped unseen, but for the newest if nothing newer is
//                   there; what is early is shown and held until its turn has passed; the marker
//                   blanks the picture the moment it is reached
class CRkVideoRun {
 public:
  // `noPicture` is the marker, known by its address.
  CRkVideoRun(CRkSampleQueue& queue, CRkShownFrame& shownFrame,
              CRkLockedRef<IRkSoftwareOutputCallback>& callback, const IRkUnknown* noPicture)
      : m_queue(queue), m_shownFrame(shownFrame), m_callback(callback), m_noPicture(noPicture) {}

  // Until exitEvent or a wait that fails, or until stopEvent with nothing queued, and then sets doneEvent.
  void Run(HANDLE exitEvent, HANDLE stopEvent, HANDLE doneEvent);
  void FramePass();

 private:
  bool _TakeFrames(UINT due);
  void _Show(IRkVideoSample* video);

  CRkSampleQueue& m_queue;
  CRkShownFrame& m_shownFrame;
  CRkLockedRef<IRkSoftwareOutputCallback>& m_callback;
  const IRkUnknown* const m_noPicture;
  CRkRef<IRkVideoSample> m_current;  // held from pass to pass while it is early
};
