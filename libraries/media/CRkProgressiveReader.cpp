#include "libraries/media/CRkProgressiveReader.h"

#include <utility>

#include "contracts/RkMediaElement.h"

using SRkPicture = CRkPictureReader::SRkPicture;

namespace {

bool IsLike(const AVFrame& picture, const AVFrame& other) {
  return picture.width == other.width && picture.height == other.height && picture.format == other.format;
}

}  // namespace

void CRkProgressiveReader::SRkStored::Keep(const SRkPicture& picture) {
  av_frame_unref(frame.get());
  number = picture.frame != nullptr && av_frame_ref(frame.get(), picture.frame) >= 0 ? picture.number : -1;
}

bool CRkProgressiveReader::Open(const SRkMediaSource& source, std::string& reason) {
  return m_scratch != nullptr && m_reader.Open(source, reason);
}

SRkPicture CRkProgressiveReader::Read(int64_t number, bool secondMoment) {
  if (m_deinterlace == RkDeinterlace_Off) return m_reader.Read(number);
  if (number == m_asked && number == m_filtered) return _Moment(secondMoment, m_damage);
  const bool follows = number == m_asked + 1;
  m_asked = number;
  if (m_expectsFields && follows) std::swap(m_before, m_current);
  if (m_expectsFields && !follows && number > 0) m_before.Keep(m_reader.Read(number - 1));
  SRkPicture picture = m_reader.Read(number);
  if (_IsInterlaced(picture) && !m_expectsFields) {
    m_expectsFields = true;
    if (number > 0) m_before.Keep(m_reader.Read(number - 1));
    picture = m_reader.Read(number);
  }
  if (m_expectsFields) m_current.Keep(picture);
  if (!_IsInterlaced(picture)) return _Pass(picture);
  if (picture.number == number) {
    m_damage = picture.damage;
    if (_Filter()) return _Moment(secondMoment, m_damage);
    picture.damage = "the picture cannot be deinterlaced";
    return _Pass(picture);
  }
  // An earlier picture stands in for this one: its last moment.
  const char* damage = picture.damage;
  const int64_t standIn = picture.number;
  if (m_filtered != standIn) Read(standIn, true);
  return m_filtered == standIn ? _Moment(true, damage) : _Pass(picture);
}

SRkPicture CRkProgressiveReader::_Pass(SRkPicture picture) const {
  if (m_perField) picture.number *= 2;
  return picture;
}

SRkPicture CRkProgressiveReader::_Moment(bool second, const char* damage) const {
  const bool own = second && m_perField && m_moments[1]->width > 0;
  return {m_moments[own ? 1 : 0].get(), m_perField ? 2 * m_filtered + (own ? 1 : 0) : m_filtered, damage};
}

bool CRkProgressiveReader::_IsInterlaced(const SRkPicture& picture) const {
  return picture.frame != nullptr &&
         (m_deinterlace == RkDeinterlace_On || picture.frame->interlaced_frame != 0);
}

// Puts the moments of m_current into m_moments. The reader stands at the next picture afterwards.
bool CRkProgressiveReader::_Filter() {
  m_filtered = -1;
  const int64_t number = m_current.number;
  if ((m_fed != number || !m_filter.IsBuilt()) && !_StartFilter()) return false;
  const SRkPicture next = m_reader.Read(number + 1);
  const bool hasNext =
      next.frame != nullptr && next.number == number + 1 && IsLike(*next.frame, *m_current.frame);
  if (!hasNext) m_filter.Put(nullptr);
  m_fed = hasNext && _Feed(number + 1, *next.frame) ? number + 1 : -1;
  _Collect();
  return m_filtered == number;
}

bool CRkProgressiveReader::_StartFilter() {
  std::string chain = m_perField ? "bwdif=mode=send_field" : "bwdif=mode=send_frame";
  chain += m_deinterlace == RkDeinterlace_On ? ":deint=all" : ":deint=interlaced";
  if (!m_filter.Build(chain, *m_current.frame)) return false;
  const bool hasBefore = m_before.number == m_current.number - 1 && m_before.number >= 0 &&
                         IsLike(*m_before.frame, *m_current.frame);
  return (!hasBefore || _Feed(m_before.number, *m_before.frame)) && _Feed(m_current.number, *m_current.frame);
}

bool CRkProgressiveReader::_Feed(int64_t number, const AVFrame& picture) {
  av_frame_unref(m_scratch.get());
  if (av_frame_ref(m_scratch.get(), &picture) < 0) return false;
  m_scratch->pts = number;
  return m_filter.Put(m_scratch.get());
}

// The filter numbers moments: two for each picture, also where it gives only one.
void CRkProgressiveReader::_Collect() {
  for (const auto& moment : m_moments) av_frame_unref(moment.get());
  while (m_filter.Take(m_scratch.get())) {
    const int64_t moment = m_scratch->pts - 2 * m_current.number;
    if (moment != 0 && moment != 1) continue;
    std::swap(m_moments[static_cast<size_t>(moment)], m_scratch);
    if (moment == 0) m_filtered = m_current.number;
  }
}
