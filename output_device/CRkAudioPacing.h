#pragma once

#include "base/CRkLockedRef.h"
#include "contracts/RkKernel.h"
#include "output_device/CRkAudioFrameBuilder.h"
#include "output_device/CRkPacing.h"
#include "output_device/CRkSampleQueue.h"
#include "output_device/CRkSteadyPosition.h"
#include "output_device/IRkSoftwareOutputDevice.h"

// Pacing by an audio renderer: keeps it supplied a few frames ahead of its play position and derives the
// due frame from that position.
//
//   written: |0 .. c+lead| queued frames,  |.. c+2 but never beyond c+lead| silence where none is queued
//   c = whole frames in (wraps x buffer span + play position)
//
// A pass follows the one before after a millisecond. While the position keeps pace with the clock there is
// nothing to do before the next frame begins or a sample that may be written is queued, and the thread
// sleeps until then.
class CRkAudioPacing final : public CRkPacing {
 public:
  // `lead`: frames of audio kept written ahead of the play position, at least 1.
  CRkAudioPacing(CRkShownFrame& shownFrame, const SRkPacingEvents& events, IRkAudioDirectSound& renderer,
                 CRkAudioFrameBuilder& builder, CRkSampleQueue& queue,
                 CRkLockedRef<IRkSoftwareOutputCallback>& callback, double frameDurationMs, int lead);

  // Pre-rolls until the renderer plays, then follows and feeds it.
  void Pass() override;
  // Plays out what is queued, until the last frame is due, and stops the renderer.
  void Drain() override;

 private:
  bool _Pause() override;
  void _PreRoll();
  UINT _ReadClockFrame();
  DWORD _MsToNextFrame() const;
  void _Feed();
  void _FillWithSilence();
  void _PlayOut();
  bool _WriteQueued(DWORD timeoutMs);
  void _WriteFrame(IRkAVPlaySample* sample);
  bool _BuildFrame(IRkAVPlaySample* sample, IRkAudioSample** audio);
  DWORD _FittingCount(DWORD sampleCount) const;
  void _Report(IRkAudioSample& audio, IRkAVPlaySample* sample);
  bool _MayWrite() const { return m_nextFrame <= m_clockFrame + m_lead; }

  IRkAudioDirectSound& m_renderer;
  CRkAudioFrameBuilder& m_builder;
  CRkSampleQueue& m_queue;
  CRkLockedRef<IRkSoftwareOutputCallback>& m_callback;
  const double m_frameDurationMs;
  const UINT m_lead;
  const double m_bufferSpanMs;

  double m_lastPositionMs = 0.0;
  UINT m_wraps = 0;
  // As last read.
  LONGLONG m_readAt = 0;     // nanoseconds
  double m_elapsedMs = 0.0;  // wraps included
  UINT m_clockFrame = 0;     // c
  CRkSteadyPosition m_steady;
  UINT m_nextFrame = 0;           // frames written since Play, and the index of the next one
  ULONGLONG m_writePosition = 0;  // bytes, in the renderer's stream
};
