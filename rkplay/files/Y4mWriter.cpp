#include "rkplay/files/Y4mWriter.h"

#include <string_view>

#include "rkplay/files/PicturePlanes.h"

namespace rkplay {
namespace {

const char* ColourTag(int pixelFormat) {
  switch (pixelFormat) {
    case RkPixelFormat_I422:
      return "C422 XYSCSS=422";
    case RkPixelFormat_I444:
      return "C444 XYSCSS=444";
    default:
      return "C420jpeg XYSCSS=420JPEG";
  }
}

std::string Header(const SRkVideoResolution& video) {
  const auto [numerator, denominator] = kRkFrameRates[video.frameRate];
  return "YUV4MPEG2 W" + std::to_string(video.width) + " H" + std::to_string(video.height) + " F" +
         std::to_string(numerator) + ":" + std::to_string(denominator) + " Ip A" +
         std::to_string(video.aspectNumerator) + ":" + std::to_string(video.aspectDenominator) + " " +
         ColourTag(video.pixelFormat) +
         (video.colorRange == RkColorRange_Full ? " XCOLORRANGE=FULL\n" : " XCOLORRANGE=LIMITED\n");
}

}  // namespace

Y4mWriter::Y4mWriter(const std::string& path, const SRkVideoResolution& video)
    : m_video(video), m_file(path) {
  const std::string header = Header(video);
  m_file.Write(header.data(), header.size());
}

bool Y4mWriter::Write(IRkAVPlaySample& sample) {
  CRkRef<IRkVideoSample> picture;
  sample.GetVideoSample(picture.Out());
  if (!picture) return m_file.Fail("a frame came without a picture");
  const PicturePlanes planes(*picture, m_video);
  if (!planes) return m_file.Fail("a picture came without all its planes");
  constexpr std::string_view kFrame = "FRAME\n";
  if (!m_file.Write(kFrame.data(), kFrame.size())) return false;
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    const SRkPlaneLayout layout = RkPlaneLayout(m_video, plane);
    const BYTE* row = planes.Rows(plane);
    for (int y = 0; y < layout.height; ++y, row += layout.stride) {
      if (!m_file.Write(row, static_cast<size_t>(layout.width))) return false;
    }
  }
  return true;
}

}  // namespace rkplay
