#pragma once

#include "output_device/CRkShownFrame.h"

// The events through which the pacing thread meets the others. Borrowed.
struct SRkPacingEvents {
  HANDLE exit;       // ends everything soon
  HANDLE stop;       // play is to end
  HANDLE videoDone;  // the video thread has finished
  HANDLE audioDone;  // set at the end of Run
};

// Owns the present moment between a Play and its Stop: moves the shown frame on, by the renderer's play
// position (CRkAudioPacing) or by the soft clock's ticks (CRkClockPacing). Lives on the pacing thread only.
class CRkPacing {
 public:
  CRkPacing(CRkShownFrame& shownFrame, const SRkPacingEvents& events)
      : m_shownFrame(shownFrame), m_events(events) {}
  virtual ~CRkPacing() = default;
  CRkPacing(const CRkPacing&) = delete;
  CRkPacing& operator=(const CRkPacing&) = delete;

  // Until exit or stop. Then drains, makes the last submitted frame due, after a stop waits until the video
  // thread is done with it, at most 1000 ms, and sets audioDone.
  void Run();

  virtual void Pass() = 0;
  // Plays out what is queued.
  virtual void Drain() {}

 protected:
  // Between two passes: until the next is due. True at exit or stop.
  virtual bool _Pause() { return _WaitForEnd(kPassPauseMs); }

  bool _WaitForEnd(DWORD timeoutMs) const;

  static constexpr DWORD kPassPauseMs = 1;
  CRkShownFrame& m_shownFrame;
  const SRkPacingEvents m_events;
};
