#include "libraries/clip_core/CRkPatternPicture.h"

#include <cmath>
#include <cstring>

#include "base/CRkHeapPlayBuffer.h"
#include "contracts/RkKernel.h"
#include "libraries/clip_core/RkPatternNumber.h"

namespace {

constexpr int kSmallestEdge = 16;
constexpr int kLargestEdge = 32767;  // keeps the bytes of a plane in 31 bits

constexpr int kBarCount = 8;
constexpr double kBarLevel = 0.75;

// The weights of red and blue in the luma; green has the rest.
struct SRkColours {
  double red;
  double blue;
};
constexpr SRkColours kBt601 = {0.299, 0.114};
constexpr SRkColours kBt709 = {0.2126, 0.0722};

// The byte of one plane for a colour whose components are 0 to 1.
BYTE PlaneValue(UINT plane, double red, double green, double blue, const SRkVideoResolution& video) {
  const bool fullRange = video.colorRange == RkColorRange_Full;
  const SRkColours share = RkHasHdColours(video.height) ? kBt709 : kBt601;
  const double luma = share.red * red + (1 - share.red - share.blue) * green + share.blue * blue;
  if (plane == 0) return static_cast<BYTE>(std::lround(fullRange ? 255 * luma : 16 + 219 * luma));
  const double difference =
      plane == 1 ? (blue - luma) / (2 - 2 * share.blue) : (red - luma) / (2 - 2 * share.red);
  return static_cast<BYTE>(std::lround(128 + (fullRange ? 255 : 224) * difference));
}

// White, yellow, cyan, green, magenta, red, blue, black.
BYTE BarValue(UINT plane, int bar, const SRkVideoResolution& video) {
  const int lit = kBarCount - 1 - bar;
  const auto level = [lit](int mask) { return (lit & mask) != 0 ? kBarLevel : 0.0; };
  return PlaneValue(plane, level(2), level(4), level(1), video);
}

}  // namespace

bool CRkPatternPicture::IsSupported(const SRkVideoResolution& video) {
  const auto isEdge = [](int edge) { return edge >= kSmallestEdge && edge <= kLargestEdge; };
  return isEdge(video.width) && isEdge(video.height) && video.pixelFormat >= RkPixelFormat_I420 &&
         video.pixelFormat <= RkPixelFormat_I444;
}

bool CRkPatternPicture::Prepare(const SRkVideoResolution& video) {
  m_video = video;
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    if (!CRkHeapPlayBuffer::Create(RkPlaneLayout(video, plane).Bytes(), m_bars[plane].Out())) return false;
    _DrawPlane(plane);
  }
  return true;
}

bool CRkPatternPicture::Draw(UINT number, IRkPlayBufferPool* pool, IRkVideoSample* picture) const {
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    const UINT bytes = RkPlaneLayout(m_video, plane).Bytes();
    CRkRef<IRkPlayBuffer> buffer;
    if (!RkTakePlayBuffer(pool, bytes, buffer.Out())) return false;
    std::memcpy(buffer->GetData(), m_bars[plane]->GetData(), bytes);
    if (plane == 0) _StampNumber(number, buffer->GetData());
    picture->SetBuffer(plane, buffer.Get());
  }
  return true;
}

// Draws the bars, and a black box that leaves a dot's width around the number.
void CRkPatternPicture::_DrawPlane(UINT plane) const {
  const SRkPlaneLayout layout = RkPlaneLayout(m_video, plane);
  BYTE* const data = m_bars[plane]->GetData();

  std::memset(data, 0, layout.Bytes());
  for (int x = 0; x < layout.width; ++x)
    data[x] = BarValue(plane, static_cast<int>(static_cast<LONGLONG>(x) * kBarCount / layout.width), m_video);
  for (int y = 1; y < layout.height; ++y)
    std::memcpy(data + static_cast<size_t>(y) * layout.stride, data, layout.width);

  const SRkPatternNumberPlace place = RkPlacePatternNumber(m_video.width, m_video.height);
  const int stepX = layout.width == m_video.width ? 1 : 2;
  const int stepY = layout.height == m_video.height ? 1 : 2;
  const int left = std::max(0, place.x - place.dot) / stepX;
  const int right = std::min(layout.width, (place.x + place.Width() + place.dot + stepX - 1) / stepX);
  const int top = std::max(0, place.y - place.dot) / stepY;
  const int bottom = std::min(layout.height, (place.y + place.Height() + place.dot + stepY - 1) / stepY);
  const BYTE black = PlaneValue(plane, 0, 0, 0, m_video);
  for (int y = top; y < bottom; ++y)
    std::memset(data + static_cast<size_t>(y) * layout.stride + left, black, right - left);
}

void CRkPatternPicture::_StampNumber(UINT number, BYTE* luma) const {
  const SRkPatternNumberPlace place = RkPlacePatternNumber(m_video.width, m_video.height);
  const size_t stride = RkPlaneLayout(m_video, 0).stride;
  const BYTE white = PlaneValue(0, 1, 1, 1, m_video);
  for (int index = place.digits - 1; index >= 0; --index, number /= 10) {
    const int left = place.x + index * kRkDigitPitch * place.dot;
    for (int y = 0; y < place.Height(); ++y) {
      BYTE* dot = luma + (place.y + y) * stride + left;
      for (int column = 0; column < kRkDigitWidth; ++column, dot += place.dot) {
        if (RkIsDigitDot(number % 10, y / place.dot, column)) std::memset(dot, white, place.dot);
      }
    }
  }
}
