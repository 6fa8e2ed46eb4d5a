#include "libraries/media/CRkPacketSource.h"

#include <utility>

namespace {

// Reading ends after this many consecutive errors.
constexpr int kMaxReadErrors = 64;

}  // namespace

bool CRkPacketSource::Open(const std::string& path, std::string& reason) {
  m_path = path;
  m_stream = -1;
  return m_format.Open(path, nullptr, reason);
}

int CRkPacketSource::FindStream(AVMediaType type) const {
  const AVCodec* decoder = nullptr;
  // Sound is that of the programme whose pictures are played.
  const int related = type == AVMEDIA_TYPE_AUDIO
                          ? av_find_best_stream(m_format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0)
                          : -1;
  const int stream = av_find_best_stream(m_format.get(), type, -1, related, &decoder, 0);
  if (stream >= 0 && (m_format->streams[stream]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
    return AVERROR_STREAM_NOT_FOUND;
  }
  return stream;
}

void CRkPacketSource::Select(int stream) {
  m_stream = stream;
  for (unsigned i = 0; i < m_format->nb_streams; ++i) {
    m_format->streams[i]->discard = static_cast<int>(i) == stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
  // Many containers index the pictures only.
  const int pictures = FindStream(AVMEDIA_TYPE_VIDEO);
  m_indexStream = pictures >= 0 ? pictures : stream;
}

bool CRkPacketSource::Read(AVPacket* packet) {
  for (int errors = 0; errors < kMaxReadErrors;) {
    av_packet_unref(packet);
    const int result = av_read_frame(m_format.get(), packet);
    if (result == AVERROR_EOF) return false;
    if (result < 0) {
      ++errors;
    } else if (packet->stream_index == m_stream) {
      if (m_splices != nullptr) _Shift(packet);
      return true;
    }
  }
  return false;
}

void CRkPacketSource::_Shift(AVPacket* packet) {
  if (packet->pos >= 0) m_position = packet->pos;
  const int64_t stated = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
  if (stated == AV_NOPTS_VALUE) return;
  m_shift = m_splices->ShiftOf(stated, m_position, Stream()->time_base);
  if (packet->pts != AV_NOPTS_VALUE) packet->pts += m_shift;
  if (packet->dts != AV_NOPTS_VALUE) packet->dts += m_shift;
}

bool CRkPacketSource::SeekBefore(int64_t timestamp) {
  if (m_splices != nullptr) {
    m_position = m_splices->PositionBefore(timestamp, Stream()->time_base);
    return av_seek_frame(m_format.get(), -1, m_position, AVSEEK_FLAG_BYTE) >= 0;
  }
  AVStream& index = *m_format->streams[m_indexStream];
  const int64_t target = av_rescale_q_rnd(timestamp, Stream()->time_base, index.time_base, AV_ROUND_DOWN);
  // Containers without an index look for packets of this stream, and read on to the end if none are let
  // through.
  const AVDiscard discard = std::exchange(index.discard, AVDISCARD_DEFAULT);
  const int result = av_seek_frame(m_format.get(), m_indexStream, target, AVSEEK_FLAG_BACKWARD);
  index.discard = discard;
  return result >= 0;
}

// The time of the stream's first packet, or before it.
int64_t CRkPacketSource::_Earliest() const {
  return Stream()->start_time != AV_NOPTS_VALUE ? Stream()->start_time : 0;
}

bool CRkPacketSource::Restart() {
  CRkPacketSource again;
  std::string reason;
  // A file that was removed is still open here.
  if (!again.Open(m_path, reason)) return SeekBefore(_Earliest());
  // The file may have been replaced by another meanwhile.
  if (m_stream >= static_cast<int>(again.m_format->nb_streams)) return false;
  again.Select(m_stream);
  again.SetSplices(m_splices);
  *this = std::move(again);
  return true;
}
