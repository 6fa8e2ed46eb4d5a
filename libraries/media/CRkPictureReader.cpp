#include "libraries/media/CRkPictureReader.h"

#include <algorithm>
#include <utility>

#include "libraries/media/RkPictureKind.h"

namespace {

// Decoding on this far costs no more than a seek.
constexpr int64_t kNearPictures = 32;
// Limits the key pictures that are tried before a picture is decoded from the start of the file.
constexpr int kMaxStepsBack = 8;

}  // namespace

bool CRkPictureReader::Open(const SRkMediaSource& source, std::string& reason) {
  m_timeline = &source.pictures;
  return m_shown != nullptr && m_ahead != nullptr &&
         m_decoder.Open(source.path, AVMEDIA_TYPE_VIDEO, -1, source.splices, reason);
}

CRkPictureReader::SRkPicture CRkPictureReader::Read(int64_t number) {
  const int64_t reachable = number >= m_noneFrom ? m_lastGood : number;
  const int64_t reached = std::max(m_shownNumber, m_aheadNumber);
  if (reachable >= 0 && reachable != m_shownNumber) {
    if (reachable > m_shownNumber && reachable <= reached + kNearPictures) {
      _Advance(reachable);
    } else {
      _Locate(reachable);
    }
  }
  const bool ended = m_aheadNumber < 0 && m_shownNumber < number;
  if (ended && number < m_noneFrom) {
    m_lastGood = m_shownNumber;
    m_noneFrom = m_lastGood + 1;
  }
  if (m_shownNumber == number) {
    return {m_shown.get(), m_shownNumber, m_shown->decode_error_flags != 0 ? "damaged picture" : nullptr};
  }
  const char* damage = ended ? "unexpected end of file" : "damaged picture";
  return {m_shownNumber < 0 ? nullptr : m_shown.get(), m_shownNumber, damage};
}

// Shows the picture, or the nearest good one before it.
void CRkPictureReader::_Locate(int64_t number) {
  CRkStreamDecoder::SRkLanding landing{};
  if (m_timeline->HasTimes()) {
    int64_t timestamp = m_timeline->TimestampOf(number);
    for (int step = 0; step < kMaxStepsBack; ++step) {
      _Forget();
      auto found = m_decoder.Seek(timestamp, &landing);
      if (found == CRkStreamDecoder::ERkSeek::NothingThere) {
        found = m_decoder.Seek(m_timeline->TimestampOf(_LastReadable(number)), &landing);
      }
      if (found != CRkStreamDecoder::ERkSeek::Landed || landing.pts == AV_NOPTS_VALUE) break;
      m_firstWhole = m_timeline->PictureOf(landing.pts);
      if (m_firstWhole <= number && _Advance(number)) return;
      if (m_firstWhole <= 0) break;
      // A key picture's decoding time gives its place in the file. Containers without an index may land at
      // the same key picture again, so each step goes back further.
      const int64_t earliest =
          landing.dts == AV_NOPTS_VALUE ? landing.pts : std::min(landing.pts, landing.dts);
      const int64_t halfSecond = av_rescale_q(1, {1, 2}, m_timeline->TimeBase());
      timestamp = std::min(timestamp, earliest) - 1 - (step == 0 ? 0 : halfSecond << (step - 1));
    }
  }
  _Forget();
  m_firstWhole = INT64_MIN;
  if (m_decoder.Restart()) _Advance(number);
}

// The last picture up to `number` that still has a readable key picture behind its place in the file; 0
// when there is none. A truncated file may lack most pictures of its index.
int64_t CRkPictureReader::_LastReadable(int64_t number) {
  CRkStreamDecoder::SRkLanding landing{};
  int64_t readable = 0;
  for (int64_t unreadable = number; unreadable - readable > 1;) {
    const int64_t middle = readable + (unreadable - readable) / 2;
    const auto found = m_decoder.Seek(m_timeline->TimestampOf(middle), &landing);
    (found == CRkStreamDecoder::ERkSeek::Landed ? readable : unreadable) = middle;
  }
  return readable;
}

// Decodes on to the picture or, where it is missing, to the last one before it. False when there is none.
bool CRkPictureReader::_Advance(int64_t number) {
  while (m_shownNumber < number) {
    if (m_aheadNumber < 0 && !_DecodeAhead()) break;
    if (m_aheadNumber > number) break;
    std::swap(m_shown, m_ahead);
    m_shownNumber = std::exchange(m_aheadNumber, -1);
  }
  return m_shownNumber >= 0;
}

bool CRkPictureReader::_DecodeAhead() {
  while (m_decoder.NextFrame(m_ahead.get())) {
    int64_t number = m_nextCounted++;
    if (m_timeline->HasTimes()) {
      const int64_t timestamp = m_ahead->best_effort_timestamp;
      if (timestamp == AV_NOPTS_VALUE) continue;
      number = m_timeline->PictureOf(timestamp);
    }
    if (number < 0 || number < m_firstWhole || number <= m_shownNumber) continue;
    RkCompletePicture(m_decoder.Source().Format(), m_decoder.Stream(), m_ahead.get());
    m_aheadNumber = number;
    return true;
  }
  return false;
}

void CRkPictureReader::_Forget() {
  m_shownNumber = m_aheadNumber = -1;
  m_nextCounted = 0;
}
