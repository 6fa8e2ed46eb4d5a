#include "rkplay/frame/ColourMatrix.h"

#include "contracts/RkPictureLayout.h"
#include "libraries/media/RkAv.h"
#include "rkplay/cli/UsageError.h"

namespace rkplay {
namespace {

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
  return CustomOf(programme.format.video.height);
}

}  // namespace rkplay
