#include "rkplay/files/Av.h"

#include "contracts/RkPictureLayout.h"

namespace rkplay {
namespace {

AVPixelFormat PlanarFormat(int pixelFormat) {
  switch (pixelFormat) {
    case RkPixelFormat_I422:
      return AV_PIX_FMT_YUV422P;
    case RkPixelFormat_I444:
      return AV_PIX_FMT_YUV444P;
    default:
      return AV_PIX_FMT_YUV420P;
  }
}

}  // namespace

AvPtr<SwsContext> MakeRgbScaler(const SRkVideoResolution& from, AVPixelFormat to, int width, int height,
                                int flags) {
  AvPtr<SwsContext> scaler(sws_getContext(from.width, from.height, PlanarFormat(from.pixelFormat), width,
                                          height, to, flags, nullptr, nullptr, nullptr));
  if (!scaler) return nullptr;
  constexpr int kOne = 1 << 16;
  const int* const colours = sws_getCoefficients(RkHasHdColours(from.height) ? SWS_CS_ITU709 : SWS_CS_ITU601);
  const int isFullRange = from.colorRange == RkColorRange_Full ? 1 : 0;
  const bool set =
      sws_setColorspaceDetails(scaler.get(), colours, isFullRange, colours, 1, 0, kOne, kOne) >= 0;
  return set ? std::move(scaler) : nullptr;
}

bool Scale(SwsContext& scaler, const PicturePlanes& picture, const SRkVideoResolution& format,
           uint8_t* const rows[], const int strides[]) {
  const uint8_t* source[4] = {};
  int sourceStrides[4] = {};
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    source[plane] = picture.Rows(plane);
    sourceStrides[plane] = RkPlaneLayout(format, plane).stride;
  }
  return sws_scale(&scaler, source, sourceStrides, 0, format.height, rows, strides) > 0;
}

}  // namespace rkplay
