#include "libraries/media/RkPictureKind.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "contracts/RkPictureLayout.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/display.h>
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
    case AV_PIX_FMT_YUVJ440P:
      return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
      return AV_PIX_FMT_YUV411P;
    default:
      return static_cast<AVPixelFormat>(pixelFormat);
  }
}

bool HasFlag(AVPixelFormat format, uint64_t flag) {
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
  return descriptor != nullptr && (descriptor->flags & flag) != 0;
}

ERkColorMatrix MatrixOf(AVColorSpace stated, int height) {
  switch (stated) {
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
      return RkColorMatrix_BT601;
    case AVCOL_SPC_BT709:
      return RkColorMatrix_BT709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return RkColorMatrix_BT2020;
    case AVCOL_SPC_SMPTE240M:
      return RkColorMatrix_SMPTE240M;
    case AVCOL_SPC_FCC:
      return RkColorMatrix_FCC;
    default:
      return RkCustomMatrix(height);
  }
}

bool IsMatrixKnown(AVColorSpace stated) {
  switch (stated) {
    case AVCOL_SPC_YCGCO:
    case AVCOL_SPC_SMPTE2085:
    case AVCOL_SPC_CHROMA_DERIVED_NCL:
    case AVCOL_SPC_CHROMA_DERIVED_CL:
    case AVCOL_SPC_ICTCP:
      return false;
    default:
      return true;
  }
}

ERkLight LightOf(const AVFrame& picture) {
  if (picture.color_trc == AVCOL_TRC_SMPTE2084) return ERkLight::Pq;
  if (picture.color_trc == AVCOL_TRC_ARIB_STD_B67) return ERkLight::Hlg;
  return picture.color_primaries == AVCOL_PRI_BT2020 ? ERkLight::WideGamut : ERkLight::Standard;
}

// Null without one.
const int32_t* DisplayMatrixOf(const AVFrame& picture) {
  const AVFrameSideData* data = av_frame_get_side_data(&picture, AV_FRAME_DATA_DISPLAYMATRIX);
  return data != nullptr && data->size >= 9 * sizeof(int32_t) ? reinterpret_cast<const int32_t*>(data->data)
                                                              : nullptr;
}

// A right angle leaves one of the matrix's two diagonals empty, but for rounding.
bool IsEmpty(int32_t a, int32_t b) {
  constexpr int32_t kRounding = 1 << 10;
  return std::abs(a) < kRounding && std::abs(b) < kRounding;
}

}  // namespace

ERkColorMatrix RkCustomMatrix(int height) {
  return RkHasHdColours(height) ? RkColorMatrix_BT709 : RkColorMatrix_BT601;
}

bool RkIsRgb(AVPixelFormat format) {
  return HasFlag(format, AV_PIX_FMT_FLAG_RGB);
}

bool RkHasAlpha(AVPixelFormat format) {
  return HasFlag(format, AV_PIX_FMT_FLAG_ALPHA);
}

int RkBitDepth(AVPixelFormat format) {
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
  int depth = 0;
  for (int i = 0; descriptor != nullptr && i < descriptor->nb_components; ++i) {
    depth = std::max(depth, descriptor->comp[i].depth);
  }
  return depth;
}

SRkPictureKind RkKindOf(const AVFrame& picture) {
  SRkPictureKind kind;
  kind.width = picture.width;
  kind.height = picture.height;
  kind.pixelFormat = WithoutRange(picture.format);
  if (picture.sample_aspect_ratio.num > 0 && picture.sample_aspect_ratio.den > 0) {
    kind.aspectWidth = picture.sample_aspect_ratio.num;
    kind.aspectHeight = picture.sample_aspect_ratio.den;
  }
  kind.fullRange = picture.color_range == AVCOL_RANGE_JPEG || kind.pixelFormat != picture.format ||
                   RkIsRgb(kind.pixelFormat);
  kind.matrix = MatrixOf(picture.colorspace, picture.height);
  kind.light = LightOf(picture);
  if (const int32_t* matrix = DisplayMatrixOf(picture)) {
    // x' = m0 x + m3 y, y' = m1 x + m4 y
    kind.exchangeAxes = IsEmpty(matrix[0], matrix[4]);
    kind.mirrorX = (kind.exchangeAxes ? matrix[3] : matrix[0]) < 0;
    kind.mirrorY = (kind.exchangeAxes ? matrix[1] : matrix[4]) < 0;
  }
  return kind;
}

void RkCompletePicture(AVFormatContext* format, AVStream* stream, AVFrame* picture) {
  picture->sample_aspect_ratio = av_guess_sample_aspect_ratio(format, stream, picture);
  if (DisplayMatrixOf(*picture) != nullptr) return;
  size_t size = 0;
  const uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (matrix == nullptr) return;
  AVFrameSideData* data = av_frame_new_side_data(picture, AV_FRAME_DATA_DISPLAYMATRIX, size);
  if (data != nullptr) std::memcpy(data->data, matrix, size);
}

std::string RkWhyNotConvertible(const AVFrame& picture) {
  const int32_t* matrix = DisplayMatrixOf(picture);
  if (matrix != nullptr && !IsEmpty(matrix[0], matrix[4]) && !IsEmpty(matrix[1], matrix[3])) {
    return "its pictures are turned by an angle other than a right one";
  }
  if (!IsMatrixKnown(picture.colorspace) && !RkIsRgb(WithoutRange(picture.format))) {
    return std::string("its colour matrix cannot be converted: ") + av_color_space_name(picture.colorspace);
  }
  for (const char* filter : {"zscale", "tonemap"}) {
    if (LightOf(picture) != ERkLight::Standard && avfilter_get_by_name(filter) == nullptr) {
      return std::string("its light (") + av_color_transfer_name(picture.color_trc) +
             ") cannot be converted: FFmpeg has no filter " + filter;
    }
  }
  return {};
}
