#include "output_device/CRkAudioFeed.h"

#include <algorithm>

#include "base/CRkAudioLock.h"

namespace {

constexpr DWORD kPreRollTimeoutMs = 5;
constexpr UINT kNotifyTimeoutMs = 17;
constexpr DWORD kSilencePauseMs = 1;
constexpr DWORD kDrainPauseMs = 16;
constexpr UINT kSilentFramesAhead = 3;
constexpr DWORD kTolerancesPerSecond = 1000;  // frames begin within 1 ms of their time

}  // namespace

CRkAudioFeed::CRkAudioFeed(IRkAudioDirectSound& renderer, CRkAudioFrameBuilder& builder,
                           CRkSampleQueue& queue, CRkShownFrame& shownFrame,
                           CRkLockedRef<IRkSoftwareOutputCallback>& callback, double frameDurationMs,
                           int lead)
    : m_renderer(renderer),
      m_builder(builder),
      m_queue(queue),
      m_shownFrame(shownFrame),
      m_callback(callback),
      m_frameDurationMs(frameDurationMs),
      m_lead(static_cast<UINT>(lead)),
      m_bufferSpanMs(renderer.GetBufferDuration()) {}

void CRkAudioFeed::Pass(HANDLE exitEvent) {
  if (!m_renderer.Play()) return _PreRoll();
  if (!m_renderer.WaitForNotify(kNotifyTimeoutMs)) return;
  const UINT clockFrame = _ReadClockFrame();
  m_shownFrame.AdvanceTo(clockFrame);
  _Feed(clockFrame);
  _FillWithSilence(clockFrame, exitEvent);
}

// The clock is not read yet, so no picture is shown.
void CRkAudioFeed::_PreRoll() {
  if (_WriteQueued(kPreRollTimeoutMs)) m_renderer.Play();
}

UINT CRkAudioFeed::_ReadClockFrame() {
  double positionMs = m_lastPositionMs;
  m_renderer.GetPlayPosition(&positionMs);
  if (m_lastPositionMs > positionMs) ++m_wraps;
  m_lastPositionMs = positionMs;
  const double elapsedMs = m_wraps * m_bufferSpanMs + positionMs;
  return static_cast<UINT>(static_cast<ULONGLONG>(elapsedMs / m_frameDurationMs));
}

void CRkAudioFeed::_Feed(UINT clockFrame) {
  while (_MayWrite(clockFrame) && _WriteQueued(0)) {
  }
}

// Never further than the lead lets a queued frame be written: with a short lead silence would else always
// be ahead of what the host submits, and the queue would never empty.
void CRkAudioFeed::_FillWithSilence(UINT clockFrame, HANDLE exitEvent) {
  const UINT end = clockFrame + std::min(kSilentFramesAhead, m_lead + 1);
  while (m_nextFrame < end) {
    _WriteFrame(nullptr);
    RkWait(exitEvent, kSilencePauseMs);
  }
}

void CRkAudioFeed::Drain(HANDLE exitEvent) {
  if (!m_renderer.Play()) return;
  if (!RkWait(exitEvent, kDrainPauseMs)) _PlayOut(exitEvent);
  m_renderer.Stop();
}

void CRkAudioFeed::_PlayOut(HANDLE exitEvent) {
  do {
    const UINT clockFrame = _ReadClockFrame();
    m_shownFrame.AdvanceTo(clockFrame);
    if (_MayWrite(clockFrame) && !_WriteQueued(0)) {
      _WriteFrame(nullptr);
      if (m_shownFrame.IsLast()) return;
    }
  } while (!RkWait(exitEvent, kDrainPauseMs));
}

bool CRkAudioFeed::_WriteQueued(DWORD timeoutMs) {
  const CRkRef<IRkUnknown> item = m_queue.Pop(timeoutMs);
  if (!item) return false;
  _WriteFrame(static_cast<IRkAVPlaySample*>(item.Get()));
  return true;
}

// A frame that cannot be built counts as written, so that sound and picture stay in step.
void CRkAudioFeed::_WriteFrame(IRkAVPlaySample* sample) {
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

bool CRkAudioFeed::_BuildFrame(IRkAVPlaySample* sample, IRkAudioSample** audio) {
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
DWORD CRkAudioFeed::_FittingCount(DWORD sampleCount) const {
  const LONGLONG tolerance = m_builder.Output().samplesPerSecond / kTolerancesPerSecond;
  const auto due = static_cast<LONGLONG>(m_builder.FirstSample(m_nextFrame + 1));
  const auto begin = static_cast<LONGLONG>(m_writePosition / m_builder.Output().blockAlign);
  return static_cast<DWORD>(std::clamp(begin + sampleCount, due - tolerance, due + tolerance) - begin);
}

void CRkAudioFeed::_Report(IRkAudioSample& audio, IRkAVPlaySample* sample) {
  const auto callback = m_callback.Get();
  if (!callback) return;
  CRkRef<IRkUnknown> attachment;
  if (sample != nullptr && !sample->GetAttachment(0, attachment.Out())) attachment.Reset();
  callback->OnAudioSample(&audio, attachment.Get());
}
