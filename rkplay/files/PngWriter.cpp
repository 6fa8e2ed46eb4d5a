#include "rkplay/files/PngWriter.h"

#include <array>

#include "rkplay/cli/UsageError.h"
#include "rkplay/files/PicturePlanes.h"
#include "rkplay/files/WholeFile.h"

namespace rkplay {
namespace {

constexpr AVPixelFormat kPngFormat = AV_PIX_FMT_RGB24;

}  // namespace

PngWriter::PngWriter(const SRkVideoResolution& video, int matrix) : m_video(video) {
  if (!m_rgb || !m_packet || !_OpenEncoder() || !_OpenConverter(matrix)) {
    throw UsageError("pictures of this size cannot be written as PNG");
  }
}

bool PngWriter::_OpenEncoder() {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  m_encoder.reset(avcodec_alloc_context3(codec));
  if (!m_encoder) return false;
  m_encoder->width = m_rgb->width = m_video.width;
  m_encoder->height = m_rgb->height = m_video.height;
  m_encoder->pix_fmt = kPngFormat;
  m_rgb->format = kPngFormat;
  m_encoder->time_base = {1, 1};
  m_encoder->thread_count = 1;  // a file comes out for every picture that goes in
  return avcodec_open2(m_encoder.get(), codec, nullptr) >= 0 && av_frame_get_buffer(m_rgb.get(), 0) >= 0;
}

bool PngWriter::_OpenConverter(int matrix) {
  m_converter.reset(sws_getContext(
      m_video.width, m_video.height, RkAvPixelFormat(m_video.pixelFormat), m_video.width, m_video.height,
      kPngFormat, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
  if (!m_converter) return false;
  const int* coefficients = sws_getCoefficients(matrix);
  const int isFullRange = m_video.colorRange == RkColorRange_Full ? 1 : 0;
  return sws_setColorspaceDetails(m_converter.get(), coefficients, isFullRange, coefficients, 1, 0, 1 << 16,
                                  1 << 16) >= 0;
}

bool PngWriter::_Convert(IRkVideoSample& picture, std::string& reason) {
  const PicturePlanes planes(picture, m_video);
  if (!planes) {
    reason = "the picture came without all its planes";
    return false;
  }
  std::array<const uint8_t*, 4> rows{};
  std::array<int, 4> strides{};
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    rows[plane] = planes.Rows(plane);
    strides[plane] = RkPlaneLayout(m_video, plane).stride;
  }
  // The encoder may still hold the memory of the picture before.
  if (av_frame_make_writable(m_rgb.get()) >= 0 &&
      sws_scale(m_converter.get(), rows.data(), strides.data(), 0, m_video.height, m_rgb->data,
                m_rgb->linesize) == m_video.height) {
    return true;
  }
  reason = "the picture cannot be converted";
  return false;
}

bool PngWriter::Write(IRkAVPlaySample& sample, const std::string& path, std::string& reason) {
  CRkRef<IRkVideoSample> picture;
  sample.GetVideoSample(picture.Out());
  if (!picture) {
    reason = "the frame came without a picture";
    return false;
  }
  if (!_Convert(*picture, reason)) return false;
  if (avcodec_send_frame(m_encoder.get(), m_rgb.get()) < 0 ||
      avcodec_receive_packet(m_encoder.get(), m_packet.get()) < 0) {
    reason = "the picture cannot be coded";
    return false;
  }
  const bool written = WriteWholeFile(path, m_packet->data, static_cast<size_t>(m_packet->size), reason);
  av_packet_unref(m_packet.get());
  return written;
}

}  // namespace rkplay
