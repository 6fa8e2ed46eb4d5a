#include "rkplay/frame/ColourMatrix.h"

#include "contracts/RkPictureLayout.h"
#include "libraries/media/RkAv.h"
#include "rkplay/cli/UsageError.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace rkplay {
namespace {

bool IsRgb(int pixelFormat) {
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(pixelFormat));
  return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

int CustomOf(int height) {
  return RkHasHdColours(height) ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

// Null when the file has no pictures, or only a cover.
const AVStream* PicturesOf(AVFormatContext& format) {
  const int index = av_find_best_stream(&format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0 || (format.streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) return nullptr;
  return format.streams[index];
}

}  // namespace

int ColourMatrixOf(const Programme& programme) {
  if (programme.inputPaths.empty()) return CustomOf(programme.format.video.height);  // a pattern
  const std::string& path = programme.inputPaths.front();
  AVFormatContext* opened = nullptr;
  int result = avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, nullptr);
  const CRkAv<AVFormatContext> format(opened);
  if (result >= 0) result = avformat_find_stream_info(format.get(), nullptr);
  const AVStream* pictures = result >= 0 ? PicturesOf(*format) : nullptr;
  if (pictures == nullptr) throw UsageError(path + ": has no pictures");
  const AVCodecParameters& coding = *pictures->codecpar;
  // Pictures without a matrix of their own have been given that of the size they are wanted in.
  if (IsRgb(coding.format)) return CustomOf(programme.format.video.height);
  return coding.color_space == AVCOL_SPC_UNSPECIFIED || coding.color_space == AVCOL_SPC_RGB
             ? CustomOf(coding.height)
             : coding.color_space;
}

}  // namespace rkplay
