#include "libraries/kernel/audio/CRkSmoothPosition.h"

#include <algorithm>

namespace {

constexpr LONGLONG kPullTimeoutNs = 500'000'000;
constexpr LONGLONG kLongestLookNs = 100'000'000;
constexpr double kCorrection = 1.0 / 8;  // of a pull's error; settles within about 20 pulls

}  // namespace

void CRkSmoothPosition::Start(LONGLONG now, DWORD latencyFrames) {
  m_latency = latencyFrames;
  m_lineFrames = -m_latency;
  m_lineTime = now;
  m_last = 0.0;
  m_handed = 0;
  m_lastLook = now;
  m_waited = 0;
  m_lost = false;
}

double CRkSmoothPosition::_OnLine(LONGLONG now) const {
  return m_lineFrames + static_cast<double>(now - m_lineTime) * m_framesPerNanosecond;
}

double CRkSmoothPosition::Frames(LONGLONG now) {
  const double line = _OnLine(now);
  const double bounded = m_lost ? line : std::min(line, static_cast<double>(m_handed));
  return m_last = std::max(m_last, bounded);
}

void CRkSmoothPosition::HandOver(DWORD frames, LONGLONG now) {
  const double heard = static_cast<double>(m_handed) - m_latency;
  if (m_handed == 0) {
    m_lineFrames = heard;
  } else {
    // Not above what was handed over before: a late pull has held the position, and it goes on from there.
    const double line = m_lost ? _OnLine(now) : std::min(_OnLine(now), static_cast<double>(m_handed));
    m_lineFrames = line + (heard - line) * kCorrection;
  }
  m_lineTime = now;
  m_handed += frames;
  m_lastLook = now;
  m_waited = 0;
  m_lost = false;
}

bool CRkSmoothPosition::MissesPulls(LONGLONG now) {
  m_waited += std::min(now - m_lastLook, kLongestLookNs);
  m_lastLook = now;
  return m_waited > kPullTimeoutNs;
}

void CRkSmoothPosition::Lose(LONGLONG now) {
  m_lineFrames = Frames(now);
  m_lineTime = now;
  m_lost = true;
}

ULONGLONG CRkSmoothPosition::TakeLostFrames(LONGLONG now) {
  if (!m_lost) return 0;
  const auto gone = static_cast<ULONGLONG>(Frames(now));
  if (gone <= m_handed) return 0;
  const ULONGLONG frames = gone - m_handed;
  m_handed = gone;
  return frames;
}
