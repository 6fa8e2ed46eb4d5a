#include "libraries/media/RkPictureConversion.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace {

constexpr const char* kScaler = "flags=bicubic+accurate_rnd";

// The nearest even size; the whole side where less than a pixel is missing.
int ToEven(double size, int whole) {
  if (std::abs(size - whole) < 1.0) return whole;
  return 2 * static_cast<int>(std::clamp(std::round(size / 2.0), 1.0, kRkMaxPictureSide / 2.0));
}

// Half of the free space; an even number, so that chroma samples stay whole.
int Centred(int part, int whole) {
  const int half = (whole - part) / 2;
  return half - half % 2;
}

const char* MatrixName(ERkColorMatrix matrix) {
  switch (matrix) {
    case RkColorMatrix_BT709:
      return "bt709";
    case RkColorMatrix_BT2020:
      return "bt2020";
    case RkColorMatrix_SMPTE240M:
      return "smpte240m";
    case RkColorMatrix_FCC:
      return "fcc";
    default:
      return "bt601";
  }
}

const char* RangeName(bool full) {
  return full ? "full" : "limited";
}

std::string Source(const SRkPictureKind& kind) {
  return std::string("in_color_matrix=") + MatrixName(kind.matrix) + ":in_range=" + RangeName(kind.fullRange);
}

std::string Size(const SRkPicturePlace& place) {
  return "w=" + std::to_string(place.width) + ":h=" + std::to_string(place.height);
}

std::string Turn(const SRkPictureKind& kind) {
  std::string chain;
  if (kind.exchangeAxes) chain += "transpose=cclock_flip,";
  if (kind.mirrorX) chain += "hflip,";
  if (kind.mirrorY) chain += "vflip,";
  return chain;
}

// Over black, composing reduces to multiplying a colour by its opacity.
std::string OverBlack(const SRkPictureKind& kind) {
  const char* planar = RkBitDepth(kind.pixelFormat) > 8 ? "gbrap12" : "gbrap";
  return std::string("scale=") + kScaler + ":" + Source(kind) + ",format=" + planar +
         ",premultiply=inplace=1,format=" + (RkBitDepth(kind.pixelFormat) > 8 ? "gbrp12," : "gbrp,");
}

// Brings high dynamic range and wide gamut into those of BT.709, as 12-bit RGB of the final size.
std::string StandardLight(const SRkPictureKind& kind, const SRkPicturePlace& place) {
  if (kind.light == ERkLight::Standard) return {};
  const char* transfer = kind.light == ERkLight::Pq    ? "smpte2084"
                         : kind.light == ERkLight::Hlg ? "arib-std-b67"
                                                       : "bt709";
  return "scale=" + Size(place) + ":" + kScaler + ":" + Source(kind) +
         ",format=gbrp12,zscale=tin=" + transfer +
         ":pin=2020:min=gbr:rin=full:t=linear:npl=100,format=gbrpf32,zscale=p=709," +
         (kind.light == ERkLight::WideGamut ? "" : "tonemap=hable:desat=0,") + "zscale=t=709,format=gbrp12,";
}

// Width over height of one pixel, which is square where nothing is known.
double PixelShape(int width, int height) {
  return width > 0 && height > 0 ? static_cast<double>(width) / height : 1.0;
}

}  // namespace

SRkPicturePlace RkPlacePicture(const SRkPictureKind& kind, const SRkVideoResolution& output, int fit) {
  SRkPicturePlace place{output.width, output.height, 0, 0};
  const bool known = kind.aspectWidth > 0 && output.aspectNumerator > 0 && output.aspectDenominator > 0;
  const bool sameSize = kind.ShownWidth() == output.width && kind.ShownHeight() == output.height;
  if (fit == RkFit_Stretch || (!known && sameSize)) return place;
  const double source = PixelShape(kind.aspectWidth, kind.aspectHeight);
  const double shape = (kind.exchangeAxes ? 1.0 / source : source) * kind.ShownWidth() / kind.ShownHeight() /
                       PixelShape(output.aspectNumerator, output.aspectDenominator);
  const bool wider = shape * output.height > output.width;
  if (wider == (fit == RkFit_Bars)) {
    place.height = ToEven(output.width / shape, output.height);
  } else {
    place.width = ToEven(output.height * shape, output.width);
  }
  place.x = Centred(place.width, output.width);
  place.y = Centred(place.height, output.height);
  return place;
}

bool RkHasFormat(const SRkPictureKind& kind, const SRkVideoResolution& output) {
  return kind.width == output.width && kind.height == output.height && !kind.IsTurned() &&
         kind.pixelFormat == RkAvPixelFormat(output.pixelFormat) && kind.light == ERkLight::Standard &&
         kind.fullRange == (output.colorRange == RkColorRange_Full) &&
         kind.matrix == RkCustomMatrix(output.height);
}

std::string RkConversionChain(const SRkPictureKind& kind, const SRkVideoResolution& output,
                              const SRkPicturePlace& place) {
  SRkPictureKind now = kind;
  std::string chain = Turn(kind);
  if (RkHasAlpha(kind.pixelFormat)) {
    chain += OverBlack(kind);
    now.fullRange = true;
  }
  chain += StandardLight(now, place);
  now.fullRange = now.fullRange || kind.light != ERkLight::Standard;
  return chain + "scale=" + Size(place) + ":" + kScaler + ":" + Source(now) +
         ":out_color_matrix=" + MatrixName(RkCustomMatrix(output.height)) +
         ":out_range=" + RangeName(output.colorRange == RkColorRange_Full) +
         ",format=" + av_get_pix_fmt_name(RkAvPixelFormat(output.pixelFormat));
}
