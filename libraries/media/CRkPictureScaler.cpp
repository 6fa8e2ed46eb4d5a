#include "libraries/media/CRkPictureScaler.h"

#include <cstring>
#include <utility>

#include "base/CRkHeapPlayBuffer.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace {

// The formats whose full range is part of their name.
AVPixelFormat WithoutRange(int pixelFormat) {
  switch (pixelFormat) {
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    default:
      return static_cast<AVPixelFormat>(pixelFormat);
  }
}

bool IsRgb(int pixelFormat) {
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(pixelFormat));
  return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

// Pictures that do not say it follow the custom of their size.
int MatrixOf(AVColorSpace stated, int height) {
  if (stated == AVCOL_SPC_UNSPECIFIED || stated == AVCOL_SPC_RGB) {
    return RkHasHdColours(height) ? SWS_CS_ITU709 : SWS_CS_ITU601;
  }
  return static_cast<int>(stated);
}

}  // namespace

bool RkIsFullRange(const AVFrame& picture) {
  return picture.color_range == AVCOL_RANGE_JPEG || WithoutRange(picture.format) != picture.format ||
         IsRgb(picture.format);
}

CRkPictureScaler::CRkPictureScaler(const SRkVideoResolution& format, IRkPlayBufferPool* pool)
    : m_format(format), m_pool(CRkRef<IRkPlayBufferPool>::Retain(pool)) {}

CRkRef<IRkVideoSample> CRkPictureScaler::_TakeVideoSample(Planes* planes) {
  CRkRef<IRkVideoSample> video;
  if (!RkCreateVideoSample(video.Out())) return {};
  planes->fill(nullptr);
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    CRkRef<IRkPlayBuffer> buffer;
    if (!RkTakePlayBuffer(m_pool.Get(), RkPlaneLayout(m_format, plane).Bytes(), buffer.Out())) return {};
    (*planes)[plane] = buffer->GetData();
    video->SetBuffer(plane, buffer.Get());
  }
  return video;
}

CRkRef<IRkVideoSample> CRkPictureScaler::Share(IRkVideoSample& video) {
  CRkRef<IRkVideoSample> shared;
  if (!RkCreateVideoSample(shared.Out())) return {};
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    CRkRef<IRkUnknown> buffer;
    video.GetBuffer(plane, buffer.Out());
    shared->SetBuffer(plane, buffer.Get());
  }
  return shared;
}

CRkRef<IRkVideoSample> CRkPictureScaler::Black() {
  Planes planes;
  CRkRef<IRkVideoSample> video = _TakeVideoSample(&planes);
  if (!video) return {};
  const int luma = m_format.colorRange == RkColorRange_Full ? 0 : 16;
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    std::memset(planes[plane], plane == 0 ? luma : 128, RkPlaneLayout(m_format, plane).Bytes());
  }
  return video;
}

CRkRef<IRkVideoSample> CRkPictureScaler::Scale(const AVFrame& picture) {
  Planes planes;
  CRkRef<IRkVideoSample> video = _TakeVideoSample(&planes);
  if (!video) return {};
  if (_HasFormat(picture)) {
    _Copy(picture, planes);
  } else if (!_Convert(picture, planes)) {
    return {};
  }
  return video;
}

bool CRkPictureScaler::_HasFormat(const AVFrame& picture) const {
  return picture.width == m_format.width && picture.height == m_format.height &&
         WithoutRange(picture.format) == RkAvPixelFormat(m_format.pixelFormat) &&
         RkIsFullRange(picture) == (m_format.colorRange == RkColorRange_Full);
}

void CRkPictureScaler::_Copy(const AVFrame& picture, const Planes& planes) const {
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    const SRkPlaneLayout layout = RkPlaneLayout(m_format, plane);
    av_image_copy_plane(planes[plane], layout.stride, picture.data[plane], picture.linesize[plane],
                        layout.width, layout.height);
  }
}

bool CRkPictureScaler::_Convert(const AVFrame& picture, const Planes& planes) {
  if (!_PrepareConversion(picture)) return false;
  std::array<int, 4> strides{};
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) strides[plane] = RkPlaneLayout(m_format, plane).stride;
  return sws_scale(m_scaler.get(), picture.data, picture.linesize, 0, picture.height, planes.data(),
                   strides.data()) == m_format.height;
}

bool CRkPictureScaler::_PrepareConversion(const AVFrame& picture) {
  const SRkPictureKind kind{picture.width, picture.height, picture.format, RkIsFullRange(picture),
                            picture.colorspace};
  if (m_scaler != nullptr && m_source == kind) return true;
  // The ranges must be known before the set-up, which chooses a plain copy between equal ones.
  m_source = {};
  m_scaler.reset(sws_alloc_context());
  if (m_scaler == nullptr) return false;
  const bool toFullRange = m_format.colorRange == RkColorRange_Full;
  const std::pair<const char*, int64_t> options[] = {
      {"srcw", kind.width},
      {"srch", kind.height},
      {"src_format", WithoutRange(kind.pixelFormat)},
      {"src_range", kind.fullRange},
      {"dstw", m_format.width},
      {"dsth", m_format.height},
      {"dst_format", RkAvPixelFormat(m_format.pixelFormat)},
      {"dst_range", toFullRange},
      {"sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND},
  };
  for (const auto& [name, value] : options) {
    if (av_opt_set_int(m_scaler.get(), name, value, 0) < 0) return false;
  }
  if (sws_init_context(m_scaler.get(), nullptr, nullptr) < 0) return false;
  m_source = kind;
  const int toMatrix = IsRgb(kind.pixelFormat) ? MatrixOf(AVCOL_SPC_UNSPECIFIED, m_format.height)
                                               : MatrixOf(kind.matrix, kind.height);
  sws_setColorspaceDetails(m_scaler.get(), sws_getCoefficients(MatrixOf(kind.matrix, kind.height)),
                           kind.fullRange, sws_getCoefficients(toMatrix), toFullRange, 0, 1 << 16, 1 << 16);
  return true;
}
