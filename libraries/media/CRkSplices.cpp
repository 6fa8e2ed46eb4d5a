#include "libraries/media/CRkSplices.h"

#include <algorithm>

namespace {

// A longer pause in the decoding times is a jump. Streams of one programme are at most so far apart, too.
constexpr int64_t kJumpSeconds = 1;

int64_t DecodingTime(const SRkStoredPicture& picture) {
  return picture.dts != AV_NOPTS_VALUE ? picture.dts : picture.pts;
}

// How far decoding times may step back without being a jump. Streams that state only when pictures are
// shown step back all the time.
int64_t Unsteadiness(const std::vector<SRkStoredPicture>& pictures, AVRational timeBase) {
  size_t stepsBack = 0;
  for (size_t i = 1; i < pictures.size(); ++i) {
    if (DecodingTime(pictures[i]) < DecodingTime(pictures[i - 1])) ++stepsBack;
  }
  return stepsBack * 20 > pictures.size() ? av_rescale_q(kJumpSeconds, {1, 2}, timeBase) : 0;
}

}  // namespace

bool CRkSplices::Find(const std::vector<SRkStoredPicture>& pictures, AVRational timeBase,
                      AVRational frameRate) {
  m_timeBase = timeBase;
  const int64_t longest = av_rescale_q(kJumpSeconds, {1, 1}, timeBase);
  const int64_t unsteadiness = Unsteadiness(pictures, timeBase);
  const int64_t period = frameRate.num > 0 ? av_rescale_q(1, av_inv_q(frameRate), timeBase) : 0;
  int64_t last = AV_NOPTS_VALUE;
  for (const SRkStoredPicture& picture : pictures) {
    if (picture.pts == AV_NOPTS_VALUE) continue;
    const int64_t now = DecodingTime(picture);
    if (last == AV_NOPTS_VALUE || now < last - unsteadiness || now - last > longest) {
      m_stretches.push_back({picture.position, picture.pts, picture.pts, 0});
    }
    last = now;
    SRkStretch& stretch = m_stretches.back();
    stretch.first = std::min(stretch.first, picture.pts);
    stretch.end = std::max(stretch.end, picture.pts + std::max(picture.duration, period));
  }
  if (m_stretches.size() < 2) return false;
  for (size_t i = 1; i < m_stretches.size(); ++i) {
    const SRkStretch& before = m_stretches[i - 1];
    m_stretches[i].shift = before.end + before.shift - m_stretches[i].first;
  }
  for (const SRkStoredPicture& picture : pictures) {
    if (!picture.isKey || picture.pts == AV_NOPTS_VALUE || picture.position < 0) continue;
    const int64_t timestamp = picture.pts + ShiftOf(picture.pts, picture.position, timeBase);
    if (m_keys.empty() || timestamp > m_keys.back().timestamp)
      m_keys.push_back({timestamp, picture.position});
  }
  return !m_keys.empty();
}

bool CRkSplices::_Fits(const SRkStretch& stretch, int64_t timestamp) const {
  const int64_t margin = av_rescale_q(kJumpSeconds, {1, 1}, m_timeBase);
  return timestamp >= stretch.first - margin && timestamp <= stretch.end + margin;
}

int64_t CRkSplices::ShiftOf(int64_t timestamp, int64_t position, AVRational timeBase) const {
  const int64_t time = av_rescale_q(timestamp, timeBase, m_timeBase);
  const auto after =
      std::upper_bound(m_stretches.begin(), m_stretches.end(), position,
                       [](int64_t place, const SRkStretch& stretch) { return place < stretch.position; });
  auto stretch = after == m_stretches.begin() ? after : after - 1;
  if (!_Fits(*stretch, time)) {
    if (stretch != m_stretches.begin() && _Fits(*(stretch - 1), time)) {
      --stretch;
    } else if (stretch + 1 != m_stretches.end() && _Fits(*(stretch + 1), time)) {
      ++stretch;
    }
  }
  return av_rescale_q(stretch->shift, m_timeBase, timeBase);
}

int64_t CRkSplices::PositionBefore(int64_t timestamp, AVRational timeBase) const {
  const int64_t time = av_rescale_q(timestamp, timeBase, m_timeBase);
  const auto after =
      std::upper_bound(m_keys.begin(), m_keys.end(), time,
                       [](int64_t wanted, const SRkKeyPicture& key) { return wanted < key.timestamp; });
  return after == m_keys.begin() ? m_keys.front().position : (after - 1)->position;
}
