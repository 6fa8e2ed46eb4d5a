#include "rkplay/files/PngWriter.h"

#include "rkplay/cli/Messages.h"
#include "rkplay/files/Av.h"
#include "rkplay/files/OutputFile.h"
#include "rkplay/files/PicturePlanes.h"

namespace rkplay {
namespace {

constexpr AVPixelFormat kPngFormat = AV_PIX_FMT_RGB24;

}  // namespace

// Converter, encoder and what they work on.
class PngWriter::Coder {
 public:
  bool Open(const SRkVideoResolution& video) {
    return m_rgb && m_packet && _OpenEncoder(video) && _OpenConverter(video);
  }

  bool Convert(const PicturePlanes& planes, const SRkVideoResolution& video) {
    // The encoder may still hold the memory of the last picture.
    return av_frame_make_writable(m_rgb.get()) >= 0 &&
           Scale(*m_converter, planes, video, m_rgb->data, m_rgb->linesize);
  }

  // The coded picture, valid until the next call; null when it cannot be coded.
  const AVPacket* Encode() {
    av_packet_unref(m_packet.get());
    const bool coded = avcodec_send_frame(m_encoder.get(), m_rgb.get()) >= 0 &&
                       avcodec_receive_packet(m_encoder.get(), m_packet.get()) >= 0;
    return coded ? m_packet.get() : nullptr;
  }

 private:
  bool _OpenEncoder(const SRkVideoResolution& video) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
    m_encoder.reset(avcodec_alloc_context3(codec));
    if (!m_encoder) return false;
    m_encoder->width = m_rgb->width = video.width;
    m_encoder->height = m_rgb->height = video.height;
    m_encoder->pix_fmt = kPngFormat;
    m_rgb->format = kPngFormat;
    m_encoder->time_base = {1, 1};
    m_encoder->thread_count = 1;  // a file comes out for every picture that goes in
    return avcodec_open2(m_encoder.get(), codec, nullptr) >= 0 && av_frame_get_buffer(m_rgb.get(), 0) >= 0;
  }

  bool _OpenConverter(const SRkVideoResolution& video) {
    m_converter = MakeRgbScaler(video, kPngFormat, video.width, video.height,
                                SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT);
    return m_converter != nullptr;
  }

  AvPtr<AVCodecContext> m_encoder;
  AvPtr<SwsContext> m_converter;
  AvPtr<AVFrame> m_rgb{av_frame_alloc()};
  AvPtr<AVPacket> m_packet{av_packet_alloc()};
};

PngWriter::PngWriter(const SRkVideoResolution& video) : m_video(video), m_coder(std::make_unique<Coder>()) {
  if (!m_coder->Open(video)) throw UsageError("pictures of this size cannot be written as PNG");
}

PngWriter::~PngWriter() = default;

bool PngWriter::Write(IRkAVPlaySample& sample, const std::string& path, std::string& reason) {
  CRkRef<IRkVideoSample> picture;
  sample.GetVideoSample(picture.Out());
  if (!picture) {
    reason = "the frame came without a picture";
    return false;
  }
  const PicturePlanes planes(*picture, m_video);
  if (!planes || !m_coder->Convert(planes, m_video)) {
    reason = planes ? "the picture cannot be converted" : "the picture came without all its planes";
    return false;
  }
  const AVPacket* const png = m_coder->Encode();
  if (png == nullptr) {
    reason = "the picture cannot be coded";
    return false;
  }
  return WriteWholeFile(path, png->data, static_cast<size_t>(png->size), reason);
}

}  // namespace rkplay
