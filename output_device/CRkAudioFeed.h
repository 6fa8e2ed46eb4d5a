#pragma once

#include "base/CRkLockedRef.h"
#include "contracts/RkKernel.h"
#include "output_device/CRkAudioFrameBuilder.h"
#include "output_device/CRkSampleQueue.h"
#include "output_device/CRkShownFrame.h"
#include "output_device/IRkSoftwareOutputDevice.h"

// What the pacing thread does with an audio renderer: keeps it supplied a few frames ahead of its play
// position and derives from that position the frame that is due. Lives for one run, on that thread only.
//
//   written: |0 .. c+lead| queued frames,  |.. c+2 but never beyond c+lead| silence where none is queued
//   c = whole frames in (wraps x buffer span + play position)
class CRkAudioFeed {
 public:
  // `lead`: frames of audio kept written ahead of the play position, at least 1.
  CRkAudioFeed(IRkAudioDirectSound& renderer, CRkAudioFrameBuilder& builder, CRkSampleQueue& queue,
               CRkShownFrame& shownFrame, CRkLockedRef<IRkSoftwareOutputCallback>& callback,
               double frameDurationMs, int lead);

  // One pass: pre-rolls until the renderer plays, then follows and feeds it.
  void Pass(HANDLE exitEvent);
  // At the end of play: plays out what is queued, until the last frame is due, and stops the renderer.
  void Drain(HANDLE exitEvent);

 private:
  void _PreRoll();
  UINT _ReadClockFrame();
  void _Feed(UINT clockFrame);
  void _FillWithSilence(UINT clockFrame, HANDLE exitEvent);
  void _PlayOut(HANDLE exitEvent);
  bool _WriteQueued(DWORD timeoutMs);
  void _WriteFrame(IRkAVPlaySample* sample);
  bool _BuildFrame(IRkAVPlaySample* sample, IRkAudioSample** audio);
  DWORD _FittingCount(DWORD sampleCount) const;
  void _Report(IRkAudioSample& audio, IRkAVPlaySample* sample);
  bool _MayWrite(UINT clockFrame) const { return m_nextFrame <= clockFrame + m_lead; }

  IRkAudioDirectSound& m_renderer;
  CRkAudioFrameBuilder& m_builder;
  CRkSampleQueue& m_queue;
  CRkShownFrame& m_shownFrame;
  CRkLockedRef<IRkSoftwareOutputCallback>& m_callback;
  const double m_frameDurationMs;
  const UINT m_lead;
  const double m_bufferSpanMs;

  double m_lastPositionMs = 0.0;
  UINT m_wraps = 0;
  UINT m_nextFrame = 0;           // frames written since Play, and the index of the next one
  ULONGLONG m_writePosition = 0;  // bytes, in the renderer's stream
};
