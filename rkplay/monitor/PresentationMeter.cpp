#include "rkplay/monitor/PresentationMeter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <utility>

namespace rkplay {
namespace {

constexpr double kStepMs = 0.1;
constexpr int kWidestSteps = 10000;  // one second to either side

}  // namespace

std::string ShortNote(const Presentation& seen) {
  char note[96];
  std::snprintf(note, sizeof(note), "%llu shown %llu late %llu rep %llu sil %+.0f ms  ", seen.shown,
                seen.passedOver, seen.repeated, seen.silenceFrames, seen.medianOffsetMs.value_or(0));
  return note;
}

void PresentationMeter::RunBegins() {
  CRkScopedLock lock(m_lock);
  m_expected = 0;
  m_playsOut = false;
  m_silenceSince = 0;
  m_soundFrames = 0;
  m_soundsOfFrames = 0;
}

void PresentationMeter::RunPlaysOut() {
  CRkScopedLock lock(m_lock);
  m_playsOut = true;
}

void PresentationMeter::RunEnds(UINT submitted) {
  CRkScopedLock lock(m_lock);
  _CountPassedOver(submitted);
}

void PresentationMeter::SoundWritten(bool isSilence) {
  CRkScopedLock lock(m_lock);
  if (isSilence) {
    ++m_silenceSince;
  } else {
    m_counts.silenceFrames += std::exchange(m_silenceSince, 0);
    m_soundOf[m_soundsOfFrames++ % kRemembered] = m_soundFrames;
  }
  ++m_soundFrames;
}

// Counts what lies between the last frame and this one; a frame that stands there already is not new.
bool PresentationMeter::_IsNew(UINT frame) {
  if (m_expected && *m_expected == frame + 1) {
    if (!m_playsOut) ++m_counts.repeated;
    return false;
  }
  _CountPassedOver(frame);
  m_expected = frame + 1;
  return true;
}

bool PresentationMeter::PictureShown(UINT frame, std::optional<double> positionMs, double spanMs) {
  CRkScopedLock lock(m_lock);
  if (!_IsNew(frame)) return false;
  ++m_counts.shown;
  if (!positionMs || frame >= m_soundsOfFrames) return true;
  // Both stand on a circle; the shorter way round is the offset.
  const double ownMs = static_cast<double>(m_soundOf[frame % kRemembered]) * m_frameDurationMs;
  _CountOffset(std::remainder(*positionMs - ownMs, spanMs));
  return true;
}

void PresentationMeter::NoPictureShown() {
  CRkScopedLock lock(m_lock);
  m_expected.reset();
}

std::optional<UINT> PresentationMeter::Expected() const {
  CRkScopedLock lock(m_lock);
  return m_expected;
}

Presentation PresentationMeter::Result() const {
  CRkScopedLock lock(m_lock);
  Presentation result = m_counts;
  const ULONGLONG measured = std::accumulate(m_offsets.begin(), m_offsets.end(), 0ull);
  ULONGLONG below = 0;
  for (size_t i = 0; i < m_offsets.size(); ++i) {
    if (m_offsets[i] == 0) continue;
    const double offsetMs = (static_cast<int>(i) - kWidestSteps) * kStepMs;
    if (below <= measured / 2 && measured / 2 < below + m_offsets[i]) result.medianOffsetMs = offsetMs;
    if (!result.worstOffsetMs || std::abs(offsetMs) > std::abs(*result.worstOffsetMs)) {
      result.worstOffsetMs = offsetMs;
    }
    below += m_offsets[i];
  }
  return result;
}

void PresentationMeter::_CountPassedOver(UINT next) {
  if (m_expected && next > *m_expected) m_counts.passedOver += next - *m_expected;
}

void PresentationMeter::_CountOffset(double offsetMs) {
  m_offsets.resize(2 * size_t{kWidestSteps} + 1);
  const long steps = std::lround(offsetMs / kStepMs) + kWidestSteps;
  ++m_offsets[static_cast<size_t>(std::clamp(steps, 0L, 2L * kWidestSteps))];
}

}  // namespace rkplay
