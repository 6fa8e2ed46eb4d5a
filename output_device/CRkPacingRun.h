#pragma once

#include "contracts/RkKernel.h"
#include "output_device/CRkAudioFeed.h"
#include "output_device/CRkShownFrame.h"

// One run of the pacing thread, which owns the present moment: moves the shown frame on until it is told
// to end, by the renderer's play position (with a feed) or by the soft clock's ticks (without one). Lives
// on the pacing thread only.
class CRkPacingRun {
 public:
  // Exactly one of feed and clock is given.
  CRkPacingRun(CRkShownFrame& shownFrame, CRkAudioFeed* feed, IRkSoftRefClock* clock)
      : m_shownFrame(shownFrame), m_feed(feed), m_clock(clock) {}

  // Until exitEvent or stopEvent. Then plays out the audio, makes the last submitted frame due, after a
  // stop waits until the video thread is done with it, at most 1000 ms, and sets audioDoneEvent.
  void Run(HANDLE exitEvent, HANDLE stopEvent, HANDLE videoDoneEvent, HANDLE audioDoneEvent);

 private:
  void _Pass(HANDLE exitEvent);

  CRkShownFrame& m_shownFrame;
  CRkAudioFeed* const m_feed;
  IRkSoftRefClock* const m_clock;
};
