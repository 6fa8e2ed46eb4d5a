#include "libraries/kernel/audio/CRkAudioDirectSound.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "base/CRkAudioLock.h"
#include "base/RkExactTime.h"
#include "base/RkLogLine.h"
#include "base/RkMonotonicTime.h"
#include "base/RkSampleFormat.h"

namespace {

constexpr DWORD kPlayOutStepMs = 20;
constexpr LONGLONG kPlayOutGraceNs = kRkNanosecondsPerSecond;
constexpr DWORD kRestStepFrames = 1024;
constexpr double kMostReportedSpans =
    0.4;  // two are less than a span, so that two alternating callers miss no wrap

// Whole samples in the span; 0 for none and for what no buffer can hold.
DWORD SpanFrames(const SRkWaveFormatInfo& format, double bufferMs) {
  const double frames = std::floor(bufferMs * format.samplesPerSecond / 1000.0);
  const bool fits = frames * format.blockAlign <= std::numeric_limits<LONG>::max();
  return frames >= 1.0 && fits ? static_cast<DWORD>(frames) : 0;
}

}  // namespace

CRkRef<IRkAudioDirectSound> CRkAudioDirectSound::Create(const SRkWaveFormatInfo& format, double bufferMs,
                                                        DWORD startBytes,
                                                        std::unique_ptr<IRkSoundOutput> output,
                                                        CRkRef<IRkAudioMonitor> monitor, Clock clock) {
  if (!RkIsWholeFormat(format) || format.formatType != kRkIntegerSamples) return {};
  const DWORD spanFrames = SpanFrames(format, bufferMs);
  if (spanFrames == 0 || startBytes > spanFrames * format.blockAlign) return {};
  try {
    const auto renderer = CRkRef<CRkAudioDirectSound>::Adopt(new CRkAudioDirectSound(
        format, spanFrames, startBytes, std::move(output), std::move(monitor), clock));
    if (!renderer->_Open()) return {};
    return CRkRef<IRkAudioDirectSound>::Retain(renderer.Get());
  } catch (const std::bad_alloc&) {
    return {};
  }
}

CRkAudioDirectSound::CRkAudioDirectSound(const SRkWaveFormatInfo& format, DWORD spanFrames, DWORD startBytes,
                                         std::unique_ptr<IRkSoundOutput> output,
                                         CRkRef<IRkAudioMonitor> monitor, Clock clock)
    : m_format(format),
      m_spanFrames(spanFrames),
      m_startBytes(startBytes),
      m_monitor(std::move(monitor)),
      m_clock(clock),
      m_ring(spanFrames * format.blockAlign, RkSilentByte(format)),
      m_position(format.samplesPerSecond),
      m_restPart(static_cast<size_t>(kRestStepFrames) * format.blockAlign),
      m_output(std::move(output)) {}

CRkAudioDirectSound::~CRkAudioDirectSound() {
  _ChangeState(EState::kStopped);
  m_output.reset();
}

bool CRkAudioDirectSound::_Open() {
  if (!m_changed || !m_playedOut || !m_output->Open(m_format, *this)) return false;
  if (m_monitor) m_monitor->OnRenderer(this, m_format);
  return true;
}

void CRkAudioDirectSound::_ChangeState(EState state) {
  {
    CRkScopedLock lock(m_lock);
    const LONGLONG now = m_clock();
    if (m_state == EState::kPlaying) m_heardFrames = m_position.Frames(now);
    m_state = state;
    m_notify.Stop();
    if (state == EState::kPlaying) {
      m_position.Start(now, m_output->LatencyFrames());
      m_notify.Start(now);
    } else if (state == EState::kReady) {
      m_ring.Reset();
      m_heardFrames = m_reportedFrames = 0.0;
      m_lossLogged = false;
    }
  }
  SetEvent(m_changed);
}

BOOL CRkAudioDirectSound::Play() {
  CRkScopedLock control(m_control);
  _Follow();
  {
    CRkScopedLock lock(m_lock);
    if (m_state != EState::kReady) return m_state == EState::kPlaying;
    if (m_ring.WrittenEnd() < m_startBytes) return FALSE;
  }
  _ChangeState(EState::kPlaying);
  m_output->Start();
  return TRUE;
}

void CRkAudioDirectSound::Reset() {
  CRkScopedLock control(m_control);
  _ChangeState(EState::kStopped);
  m_output->Stop();
  _ChangeState(EState::kReady);
}

void CRkAudioDirectSound::Stop() {
  CRkScopedLock control(m_control);
  {
    CRkScopedLock lock(m_lock);
    if (m_state != EState::kPlaying) return;
  }
  if (!m_output->IsVirtual()) _WaitUntilPlayedOut();
  _ChangeState(EState::kStopped);
  m_output->Stop();
  if (m_output->IsVirtual()) return _HandOverRest();
  CRkScopedLock lock(m_lock);
  m_droppedBytes += m_ring.Drop(m_ring.Rest());
}

void CRkAudioDirectSound::_WaitUntilPlayedOut() {
  LONGLONG deadline = 0;
  {
    CRkScopedLock lock(m_lock);
    const double restMs = _Milliseconds(static_cast<double>(m_ring.Rest()) / m_format.blockAlign);
    deadline = m_clock() + static_cast<LONGLONG>(restMs * 1e6) + kPlayOutGraceNs;
  }
  do {
    _Follow();
    CRkScopedLock lock(m_lock);
    if (m_ring.Rest() == 0 || m_position.IsLost()) return;
  } while (RkWait(m_playedOut, kPlayOutStepMs) || m_clock() < deadline);
}

void CRkAudioDirectSound::_HandOverRest() {
  while (true) {
    DWORD bytes = 0;
    {
      CRkScopedLock lock(m_lock);
      bytes = static_cast<DWORD>(std::min<ULONGLONG>(m_ring.Rest(), m_restPart.size()));
      m_ring.Read(m_restPart.data(), bytes);
    }
    if (bytes == 0) return;
    _Hear(m_restPart.data(), bytes);
  }
}

void CRkAudioDirectSound::Pull(BYTE* data, DWORD bytes) {
  {
    CRkScopedLock lock(m_lock);
    if (m_state != EState::kPlaying) {
      std::fill_n(data, bytes, RkSilentByte(m_format));
      return;
    }
    const LONGLONG now = m_clock();
    _DropLost(now);
    m_isCardLost = false;
    if (m_position.IsLost()) m_position.SetLatency(m_output->LatencyFrames());  // of the card that is back
    m_ring.Read(data, bytes);
    m_position.HandOver(bytes / m_format.blockAlign, now);
    if (m_ring.Rest() == 0) SetEvent(m_playedOut);
  }
  _Hear(data, bytes);
}

void CRkAudioDirectSound::_Hear(const BYTE* data, DWORD bytes) {
  if (m_monitor) m_monitor->OnSound(data, bytes);
}

void CRkAudioDirectSound::_Follow() {
  const bool gone = m_output->IsLost();
  bool isNew = false;
  {
    CRkScopedLock lock(m_lock);
    if (m_state != EState::kPlaying || m_output->IsVirtual()) return;
    const LONGLONG now = m_clock();
    if (!m_position.IsLost() && (gone || m_position.MissesPulls(now))) {
      m_position.Lose(now);
      if (!std::exchange(m_isCardLost, true)) {
        ++m_losses;
        isNew = !std::exchange(m_lossLogged, true);
      }
    }
    _DropLost(now);
  }
  if (isNew) {
    RkLogTraceLine(
        RkLogLevel_Warning, __FUNCTION__, __LINE__,
        L"The sound system takes no sound; the play position follows the clock until it returns.\n");
  }
}

void CRkAudioDirectSound::_DropLost(LONGLONG now) {
  const ULONGLONG frames = m_position.TakeLostFrames(now);
  if (frames > 0) m_droppedBytes += m_ring.Drop(frames * m_format.blockAlign);
}

void CRkAudioDirectSound::WriteSample(IRkAudioSample* audio, ULONGLONG writePosition) {
  SRkAudioSampleInfo info = {};
  audio->GetInfo(&info);
  _Follow();
  const CRkAudioLock sound(*audio);
  CRkScopedLock lock(m_lock);
  if (RkIsSameFormat(info.format, m_format)) {
    m_droppedBytes += m_ring.Write(sound.Data(), info.dataLength, writePosition);
  } else {
    m_droppedBytes += ULONGLONG{sound.SampleCount()} * m_format.blockAlign;
  }
}

ULONGLONG CRkAudioDirectSound::GetDroppedSampleCount() {
  _Follow();
  CRkScopedLock lock(m_lock);
  return m_droppedBytes / m_format.blockAlign;
}

BOOL CRkAudioDirectSound::IsLost() {
  _Follow();
  CRkScopedLock lock(m_lock);
  return m_state == EState::kPlaying && m_position.IsLost();
}

UINT CRkAudioDirectSound::GetLossCount() {
  CRkScopedLock lock(m_lock);
  return m_losses;
}

void CRkAudioDirectSound::SetNotifyInterval(double milliseconds) {
  {
    CRkScopedLock lock(m_lock);
    m_notify.SetInterval(milliseconds, m_clock());
  }
  SetEvent(m_changed);
}

BOOL CRkAudioDirectSound::WaitForNotify(UINT timeoutMs) {
  const LONGLONG end =
      timeoutMs == INFINITE ? CRkNotifyTimer::kNever : m_clock() + LONGLONG{timeoutMs} * 1'000'000;
  while (true) {
    _Follow();
    const LONGLONG now = m_clock();
    LONGLONG due = 0;
    {
      CRkScopedLock lock(m_lock);
      if (m_notify.Take(now)) return TRUE;
      due = m_notify.Due();
    }
    if (now >= end) return FALSE;
    RkWait(m_changed, RkMillisecondsUntil(std::min(due, end), now));
  }
}

void CRkAudioDirectSound::GetPlayPosition(double* position) {
  _Follow();
  CRkScopedLock lock(m_lock);
  if (m_state == EState::kPlaying) m_heardFrames = m_position.Frames(m_clock());
  m_reportedFrames = std::min(m_heardFrames, m_reportedFrames + kMostReportedSpans * m_spanFrames);
  *position = _Milliseconds(std::fmod(m_reportedFrames, m_spanFrames));
}
