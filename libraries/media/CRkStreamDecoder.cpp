#include "libraries/media/CRkStreamDecoder.h"

#include <utility>

namespace {

// No picture that anyone plays is larger; damaged headers may claim so.
constexpr int64_t kMaxPixels = int64_t{16384} * 8192;
// Gives up after this many consecutive failures of the decoder.
constexpr int kMaxDecodeErrors = 4096;

}  // namespace

CRkAv<AVCodecContext> RkOpenDecoder(const AVStream& stream, std::string& reason) {
  const AVCodecParameters* parameters = stream.codecpar;
  const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
  CRkAv<AVCodecContext> codec(avcodec_alloc_context3(decoder));
  int result = codec == nullptr ? AVERROR(ENOMEM) : avcodec_parameters_to_context(codec.get(), parameters);
  if (result >= 0) {
    codec->thread_count = 1;
    codec->pkt_timebase = stream.time_base;
    codec->max_pixels = kMaxPixels;
    // Damaged pictures are shown as the decoder completes them. Damaged sound is noise and is dropped.
    if (parameters->codec_type == AVMEDIA_TYPE_AUDIO) codec->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
    result = avcodec_open2(codec.get(), decoder, nullptr);
  }
  if (result >= 0) return codec;
  reason = RkAvErrorText(result);
  return nullptr;
}

bool CRkStreamDecoder::Open(const std::string& path, AVMediaType type, int stream,
                            std::shared_ptr<const CRkSplices> splices, std::string& reason) {
  if (!m_source.Open(path, reason)) return false;
  if (stream < 0) stream = m_source.FindStream(type);
  // The file may have been replaced by another meanwhile.
  if (stream >= static_cast<int>(m_source.Format()->nb_streams)) stream = AVERROR_STREAM_NOT_FOUND;
  if (stream < 0) {
    reason = RkAvErrorText(stream);
    return false;
  }
  m_source.Select(stream);
  m_source.SetSplices(std::move(splices));
  m_packetHeld = m_ended = false;
  m_codec = RkOpenDecoder(*m_source.Stream(), reason);
  return m_packet != nullptr && m_codec != nullptr;
}

bool CRkStreamDecoder::NextFrame(AVFrame* frame) {
  m_failed = false;
  for (int errors = 0; !m_ended && errors < kMaxDecodeErrors;) {
    const int result = avcodec_receive_frame(m_codec.get(), frame);
    if (result >= 0) return true;
    if (result == AVERROR(EAGAIN)) {
      if (!_Feed()) {
        m_failed = true;
        ++errors;
      }
    } else if (result == AVERROR_EOF) {
      m_ended = true;
    } else {
      m_failed = true;
      ++errors;
    }
  }
  m_ended = true;
  return false;
}

// Feeds the decoder one packet, or the end of the stream. False when it refuses the packet.
bool CRkStreamDecoder::_Feed() {
  const bool more = std::exchange(m_packetHeld, false) || m_source.Read(m_packet.get());
  const int result = avcodec_send_packet(m_codec.get(), more ? m_packet.get() : nullptr);
  av_packet_unref(m_packet.get());
  return result >= 0;
}

CRkStreamDecoder::ERkSeek CRkStreamDecoder::Seek(int64_t timestamp, SRkLanding* landing) {
  avcodec_flush_buffers(m_codec.get());
  m_packetHeld = false;
  m_ended = true;
  if (!m_source.SeekBefore(timestamp)) return ERkSeek::NotPossible;
  while (m_source.Read(m_packet.get())) {
    if ((m_packet->flags & AV_PKT_FLAG_KEY) == 0) continue;
    *landing = {m_packet->pts, m_packet->dts};
    m_packetHeld = true;
    m_ended = false;
    return ERkSeek::Landed;
  }
  return ERkSeek::NothingThere;
}

bool CRkStreamDecoder::Restart() {
  // Some decoders keep state over a flush that shifts or alters the first frames, so this one is replaced.
  std::string reason;
  m_packetHeld = false;
  m_ended = true;
  if (!m_source.Restart()) return false;
  CRkAv<AVCodecContext> codec = RkOpenDecoder(*m_source.Stream(), reason);
  if (codec == nullptr) return false;
  m_codec = std::move(codec);
  m_ended = false;
  return true;
}
