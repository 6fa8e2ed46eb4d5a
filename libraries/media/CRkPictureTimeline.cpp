#include "libraries/media/CRkPictureTimeline.h"

#include <algorithm>
#include <utility>

namespace {

UINT ToCount(int64_t frames) {
  return static_cast<UINT>(std::clamp<int64_t>(frames, 0, kRkNoPosition - 1));
}

}  // namespace

UINT RkFramesInTicks(int64_t ticks, AVRational timeBase, AVRational outputRate) {
  if (ticks <= 0) return 0;
  return ToCount(av_rescale_rnd(2 * ticks - 1, int64_t{timeBase.num} * outputRate.num,
                                int64_t{2} * timeBase.den * outputRate.den, AV_ROUND_UP));
}

CRkPictureTimeline CRkPictureTimeline::Constant(AVRational timeBase, int64_t origin, AVRational rate,
                                                UINT count) {
  CRkPictureTimeline timeline;
  timeline.m_timeBase = timeBase;
  timeline.m_origin = origin;
  timeline.m_rate = rate;
  timeline.m_count = count;
  return timeline;
}

CRkPictureTimeline CRkPictureTimeline::Counted(AVRational timeBase, int64_t origin, AVRational rate,
                                               UINT count) {
  CRkPictureTimeline timeline = Constant(timeBase, origin, rate, count);
  timeline.m_counted = true;
  return timeline;
}

CRkPictureTimeline CRkPictureTimeline::Variable(AVRational timeBase, std::vector<int64_t> times,
                                                int64_t end) {
  CRkPictureTimeline timeline;
  timeline.m_timeBase = timeBase;
  timeline.m_origin = times.front();
  timeline.m_count = static_cast<UINT>(times.size());
  timeline.m_times = std::move(times);
  timeline.m_end = end;
  return timeline;
}

UINT CRkPictureTimeline::FrameCount(AVRational outputRate) const {
  if (!m_times.empty()) return RkFramesInTicks(m_end - m_origin, m_timeBase, outputRate);
  return ToCount(av_rescale_rnd(m_count, int64_t{outputRate.num} * m_rate.den,
                                int64_t{outputRate.den} * m_rate.num, AV_ROUND_UP));
}

int64_t CRkPictureTimeline::PictureAt(UINT frame, AVRational outputRate) const {
  if (m_times.empty()) {
    const int64_t picture = av_rescale_rnd(frame, int64_t{m_rate.num} * outputRate.den,
                                           int64_t{m_rate.den} * outputRate.num, AV_ROUND_DOWN);
    return std::min<int64_t>(picture, m_count - 1);
  }
  // In half ticks, against times that are rounded by up to one of them.
  const int64_t time = av_rescale_rnd(frame, int64_t{2} * m_timeBase.den * outputRate.den,
                                      int64_t{m_timeBase.num} * outputRate.num, AV_ROUND_DOWN);
  return PictureOf(m_origin + (time + 1) / 2);
}

int64_t CRkPictureTimeline::PictureOf(int64_t timestamp) const {
  if (m_times.empty()) {
    return av_rescale_rnd(timestamp - m_origin, int64_t{m_timeBase.num} * m_rate.num,
                          int64_t{m_timeBase.den} * m_rate.den, AV_ROUND_NEAR_INF);
  }
  return std::upper_bound(m_times.begin(), m_times.end(), timestamp) - m_times.begin() - 1;
}

int64_t CRkPictureTimeline::TimestampOf(int64_t picture) const {
  if (!m_times.empty()) return m_times[static_cast<size_t>(picture)];
  return m_origin + av_rescale_rnd(picture, int64_t{m_timeBase.den} * m_rate.den,
                                   int64_t{m_timeBase.num} * m_rate.num, AV_ROUND_NEAR_INF);
}
