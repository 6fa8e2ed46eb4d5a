#include "output_device/CRkAudioPacing.h"

#include <algorithm>
#include <cmath>

#include "base/CRkAudioLock.h"
#include "base/RkMonotonicTime.h"

namespace {

constexpr DWORD kPreRollTimeoutMs = 5;
constexpr UINT kNotifyTimeoutMs = 17;
constexpr DWORD kSilencePauseMs = 1;
constexpr DWORD kDrainPauseMs = 16;
constexpr UINT kSilentFramesAhead = 3;
constexpr DWORD kTolerancesPerSecond = 1000;  // frames begin within 1 ms of their time
constexpr double kWakeMarginMs = 0.1;         // what a steady position may lag behind the clock's estimate

}  // namespace

CRkAudioPacing::CRkAudioPacing(CRkShownFrame& shownFrame, const SRkPacingEvents& events,
                               IRkAudioDirectSound& renderer, CRkAudioFrameBuilder& builder,
                               CRkSampleQueue& queue, CRkLockedRef<IRkSoftwareOutputCallback>& callback,
                               double frameDurationMs, int lead)
    : CRkPacing(shownFrame, events),
      m_renderer(renderer),
      m_builder(builder),
      m_queue(queue),
      m_callback(callback),
      m_frameDurationMs(frameDurationMs),
      m_lead(static_cast<UINT>(lead)),
      m_bufferSpanMs(renderer.GetBufferDuration()) {}

void CRkAudioPacing::Pass() {
  if (!m_renderer.Play()) return _PreRoll();
  if (!m_renderer.WaitForNotify(kNotifyTimeoutMs)) return;
  m_shownFrame.AdvanceTo(_ReadClockFrame());
  _Feed();
  _FillWithSilence();
}

bool CRkAudioPacing::_Pause() {
  if (!m_steady.IsSteady()) return _WaitForEnd(kPassPauseMs);
  const HANDLE awaited[] = {m_events.exit, m_events.stop, m_queue.Semaphore()};
  while (_MayWrite()) {
    const DWORD result = WaitForMultipleObjects(3, awaited, FALSE, _MsToNextFrame());
    if (result != WAIT_OBJECT_0 + 2) return result != WAIT_TIMEOUT;
    if (const auto item = m_queue.PopCounted()) _WriteFrame(static_cast<IRkAVPlaySample*>(item.Get()));
  }
  return _WaitForEnd(_MsToNextFrame());
}

// By the clock, from the last reading of the position on.
DWORD CRkAudioPacing::_MsToNextFrame() const {
  const double sinceMs = static_cast<double>(RkMonotonicNow() - m_readAt) / 1e6;
  const double beginMs = (m_clockFrame + 1.0) * m_frameDurationMs;
  return static_cast<DWORD>(
      std::ceil(std::clamp(beginMs - m_elapsedMs - sinceMs + kWakeMarginMs, 1.0, m_frameDurationMs)));
}

// The clock is not read yet, so no picture is shown.
void CRkAudioPacing::_PreRoll() {
  if (_WriteQueued(kPreRollTimeoutMs)) m_renderer.Play();
}

UINT CRkAudioPacing::_ReadClockFrame() {
  double positionMs = m_lastPositionMs;
  m_renderer.GetPlayPosition(&positionMs);
  m_readAt = RkMonotonicNow();
  if (m_lastPositionMs > positionMs) ++m_wraps;
  m_lastPositionMs = positionMs;
  m_elapsedMs = m_wraps * m_bufferSpanMs + positionMs;
  m_steady.Note(m_elapsedMs, m_readAt);
  m_clockFrame = static_cast<UINT>(static_cast<ULONGLONG>(m_elapsedMs / m_frameDurationMs));
  return m_clockFrame;
}

void CRkAudioPacing::_Feed() {
  while (_MayWrite() && _WriteQueued(0)) {
  }
}

// Stops at the lead; otherwise, with a short lead, silence stays ahead of the host's frames and the queue
// never drains.
void CRkAudioPacing::_FillWithSilence() {
  const UINT end = m_clockFrame + std::min(kSilentFramesAhead, m_lead + 1);
  while (m_nextFrame < end) {
    _WriteFrame(nullptr);
    RkWait(m_events.exit, kSilencePauseMs);
  }
}

void CRkAudioPacing::Drain() {
  if (!m_renderer.Play()) return;
  if (!RkWait(m_events.exit, kDrainPauseMs)) _PlayOut();
  m_renderer.Stop();
}

void CRkAudioPacing::_PlayOut() {
  do {
    m_shownFrame.AdvanceTo(_ReadClockFrame());
    if (_MayWrite() && !_WriteQueued(0)) {
      _WriteFrame(nullptr);
      if (m_shownFrame.IsLast()) return;
    }
  } while (!RkWait(m_events.exit, kDrainPauseMs));
}

bool CRkAudioPacing::_WriteQueued(DWORD timeoutMs) {
  const CRkRef<IRkUnknown> item = m_queue.Pop(timeoutMs);
  if (!item) return false;
  _WriteFrame(static_cast<IRkAVPlaySample*>(item.Get()));
  return true;
}

// A frame that cannot be built counts as written, so that sound and picture stay in step.
void CRkAudioPacing::_WriteFrame(IRkAVPlaySample* sample) {
  CRkRef<IRkAudioSample> audio;
  if (_BuildFrame(sample, audio.Out())) {
    SRkAudioSampleInfo info = {};
    audio->GetInfo(&info);
    m_renderer.WriteSample(audio.Get(), m_writePosition);
    m_writePosition += info.dataLength;
    _Report(*audio, sample);
  } else {
    m_writePosition = m_builder.FirstSample(m_nextFrame + 1) * m_builder.Output().blockAlign;
  }
  ++m_nextFrame;
}

bool CRkAudioPacing::_BuildFrame(IRkAVPlaySample* sample, IRkAudioSample** audio) {
  CRkRef<IRkAudioSample> built;
  if (!m_builder.Build(sample, m_nextFrame, built.Out()) || !built) return false;
  const DWORD count = CRkAudioLock(*built).SampleCount();
  const DWORD fitting = _FittingCount(count);
  if (count != fitting) return m_builder.Fit(*built, fitting, audio);
  built.CopyTo(audio);
  return true;
}

// How many samples the frame may take, of the `sampleCount` that it has: those that let the next frame begin
// at its time, within a tolerance that blocks of the right mean length never use up.
DWORD CRkAudioPacing::_FittingCount(DWORD sampleCount) const {
  const LONGLONG tolerance = m_builder.Output().samplesPerSecond / kTolerancesPerSecond;
  const auto due = static_cast<LONGLONG>(m_builder.FirstSample(m_nextFrame + 1));
  const auto begin = static_cast<LONGLONG>(m_writePosition / m_builder.Output().blockAlign);
  return static_cast<DWORD>(std::clamp(begin + sampleCount, due - tolerance, due + tolerance) - begin);
}

void CRkAudioPacing::_Report(IRkAudioSample& audio, IRkAVPlaySample* sample) {
  const auto callback = m_callback.Get();
  if (!callback) return;
  CRkRef<IRkUnknown> attachment;
  if (sample != nullptr && !sample->GetAttachment(0, attachment.Out())) attachment.Reset();
  callback->OnAudioSample(&audio, attachment.Get());
}
