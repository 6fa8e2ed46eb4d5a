#include "libraries/media/CRkStreamDecoder.h"

#include <utility>

namespace {

// No picture that anyone plays is larger; damaged headers may claim so.
constexpr int64_t kMaxPixels = int64_t{16384} * 8192;
// Failures of the decoder in a row, without a frame, after which it is given up.
constexpr int kMaxDecodeErrors = 4096;

}  // namespace

bool CRkStreamDecoder::Open(const std::string& path, AVMediaType type,
                            std::shared_ptr<const CRkSplices> splices, std::string& reason) {
  if (!m_source.Open(path, reason)) return false;
  const int stream = m_source.FindStream(type);
  if (stream < 0) {
    reason = RkAvErrorText(stream);
    return false;
  }
  m_source.Select(stream);
  m_source.SetSplices(std::move(splices));
  m_packetHeld = m_ended = false;
  return m_packet != nullptr && _OpenCodec(reason);
}

bool CRkStreamDecoder::_OpenCodec(std::string& reason) {
  const AVCodecParameters* parameters = m_source.Stream()->codecpar;
  const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
  m_codec.reset(avcodec_alloc_context3(decoder));
  int result =
      m_codec == nullptr ? AVERROR(ENOMEM) : avcodec_parameters_to_context(m_codec.get(), parameters);
  if (result >= 0) {
    m_codec->thread_count = 1;
    m_codec->pkt_timebase = m_source.Stream()->time_base;
    m_codec->max_pixels = kMaxPixels;
    // A damaged picture is best shown as far as it goes. Damaged sound is noise: no frame comes of it.
    if (parameters->codec_type == AVMEDIA_TYPE_AUDIO)
      m_codec->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
    result = avcodec_open2(m_codec.get(), decoder, nullptr);
  }
  if (result >= 0) return true;
  reason = RkAvErrorText(result);
  m_codec.reset();
  return false;
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

// Gives the decoder one packet more, or its end. False when it did not like the packet.
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
  // A decoder of its own: what some keep over a flush shifts or colours the first frames.
  std::string reason;
  m_packetHeld = false;
  m_ended = !m_source.Restart() || !_OpenCodec(reason);
  return !m_ended;
}
