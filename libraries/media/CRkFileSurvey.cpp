#include "libraries/media/CRkFileSurvey.h"

#include <algorithm>

#include "libraries/media/CRkStreamDecoder.h"

namespace {

// Reading ends after this many consecutive errors.
constexpr int kMaxReadErrors = 64;
// A decoder that fails more often with one packet is given up.
constexpr int kMaxDecodeErrors = 64;

// Excludes a packet's padding: samples that only the codec needs.
void CutPadding(const AVPacket& packet, int sampleRate, AVRational timeBase, int64_t* start, int64_t* end) {
  size_t size = 0;
  const uint8_t* skip = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
  if (skip == nullptr || size < 8 || sampleRate <= 0) return;
  const auto word = [skip](int at) {
    return static_cast<int64_t>(skip[at] | skip[at + 1] << 8 | skip[at + 2] << 16) |
           static_cast<int64_t>(skip[at + 3]) << 24;
  };
  *start += av_rescale_q(word(0), {1, sampleRate}, timeBase);
  *end -= av_rescale_q(word(4), {1, sampleRate}, timeBase);
}

}  // namespace

bool CRkFileSurvey::Open(const std::string& path, const char* audioTracks, SRkSoundTracks* sound,
                         std::string& reason) {
  if (m_packet == nullptr || !m_source.Open(path, reason)) return false;
  if (!_OpenLead(m_source.FindStream(AVMEDIA_TYPE_VIDEO), &m_pictures, reason)) return false;
  if (!RkChooseSoundTracks(m_source.Format(), audioTracks, sound, reason)) return false;
  if (!sound->used.empty() && !_OpenLead(sound->used.front().stream, &m_sound, reason)) return false;
  if (!HasPictures() && !HasSound()) {
    reason = "no picture or sound in it";
    return false;
  }
  m_source.Select(HasPictures() ? m_pictures.stream->index : m_sound.stream->index);
  if (HasSound()) m_sound.stream->discard = AVDISCARD_DEFAULT;
  if (HasPictures()) m_fields = std::make_unique<CRkFieldPairs>(*m_pictures.stream->codecpar);
  return true;
}

bool CRkFileSurvey::_OpenLead(int stream, SRkLead* lead, std::string& reason) {
  if (stream < 0) {
    reason = RkAvErrorText(stream);
    return stream != AVERROR_DECODER_NOT_FOUND;
  }
  lead->stream = m_source.Format()->streams[stream];
  lead->codec = RkOpenDecoder(*lead->stream, reason);
  return lead->codec != nullptr;
}

void CRkFileSurvey::SRkLead::Feed(const AVPacket* packet) {
  if (hasFrame || codec == nullptr) return;
  avcodec_send_packet(codec.get(), packet);  // frames of damaged packets are no first frames
  for (int errors = 0; errors < kMaxDecodeErrors && !hasFrame; ++errors) {
    const int result = avcodec_receive_frame(codec.get(), frame.get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) break;
    hasFrame = result >= 0;
  }
  if (hasFrame) codec.reset();
}

bool CRkFileSurvey::ReadOn() {
  for (int errors = 0; !m_hasEnded && errors < kMaxReadErrors;) {
    av_packet_unref(m_packet.get());
    const int result = av_read_frame(m_source.Format(), m_packet.get());
    if (result == AVERROR_EOF) break;
    if (result < 0) {
      ++errors;
      continue;
    }
    const AVStream* stream = m_source.Format()->streams[m_packet->stream_index];
    if (stream == m_pictures.stream) {
      _KeepPicture(*m_packet);
      m_pictures.Feed(m_packet.get());
    } else if (stream == m_sound.stream) {
      _KeepSound(*m_packet);
      m_sound.Feed(m_packet.get());
    }
    return true;
  }
  if (!m_hasEnded) {
    m_pictures.Feed(nullptr);
    m_sound.Feed(nullptr);
  }
  m_hasEnded = true;
  return false;
}

void CRkFileSurvey::ReadFirstFrames() {
  const auto isWaiting = [](const SRkLead& lead) { return lead.stream != nullptr && !lead.hasFrame; };
  while ((isWaiting(m_pictures) || isWaiting(m_sound)) && ReadOn()) {
  }
}

bool CRkFileSurvey::HasCover() const {
  const AVFormatContext* format = m_source.Format();
  return std::any_of(format->streams, format->streams + format->nb_streams, [](const AVStream* stream) {
    return (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
  });
}

void CRkFileSurvey::_KeepPicture(const AVPacket& packet) {
  if ((packet.flags & AV_PKT_FLAG_DISCARD) != 0 || m_fields->CompletesPicture(packet)) return;
  const bool isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
  m_stored.push_back({packet.pts, packet.dts, packet.duration, packet.pos, isKey});
}

void CRkFileSurvey::_KeepSound(const AVPacket& packet) {
  if ((packet.flags & AV_PKT_FLAG_DISCARD) != 0) return;
  int64_t start = packet.pts == AV_NOPTS_VALUE ? m_untimed : packet.pts;
  int64_t end = start + packet.duration;
  m_untimed = end;
  CutPadding(packet, m_sound.stream->codecpar->sample_rate, m_sound.stream->time_base, &start, &end);
  m_span.first = std::min(m_span.first, start);
  m_span.end = std::max(m_span.end, end);
  m_span.lastStart = start;
  m_span.lastEnd = end;
  if (packet.pos >= 0) m_span.lastPosition = packet.pos;
}
