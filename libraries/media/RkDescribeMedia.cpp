#include <cmath>
#include <limits>

#include "base/RkWithinMemory.h"
#include "contracts/RkMediaElement.h"
#include "contracts/RkPictureLayout.h"
#include "libraries/media/SRkMediaSource.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace {

int NearestFrameRate(AVRational rate) {
  if (rate.num <= 0 || rate.den <= 0) return RkFrameRate_25;
  int nearest = 0;
  for (int i = 1; i < kRkFrameRateCount; ++i) {
    if (av_nearer_q(rate, RkAvFrameRate(i), RkAvFrameRate(nearest)) > 0) nearest = i;
  }
  return nearest;
}

int NearestPixelFormat(AVPixelFormat format) {
  const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
  if (descriptor == nullptr || descriptor->nb_components < 3) return RkPixelFormat_I420;
  if (descriptor->log2_chroma_w == 0) return RkPixelFormat_I444;
  return descriptor->log2_chroma_h == 0 ? RkPixelFormat_I422 : RkPixelFormat_I420;
}

WORD NearestBits(const SRkMediaLook& look) {
  switch (av_get_packed_sample_fmt(look.sampleFormat)) {
    case AV_SAMPLE_FMT_S32:
      return look.sampleBits > 0 && look.sampleBits <= 24 ? 24 : 32;
    default:
      return 16;
  }
}

ERkColorMatrix DescribeMatrix(AVColorSpace stated, int height) {
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
      return RkHasHdColours(height) ? RkColorMatrix_BT709 : RkColorMatrix_BT601;
  }
}

SRkVideoResolution DescribePictures(const SRkMediaLook& look) {
  SRkVideoResolution video{};
  video.width = look.width;
  video.height = look.height;
  video.pixelFormat = NearestPixelFormat(look.pixelFormat);
  video.frameRate = NearestFrameRate(look.frameRate);
  if (look.pixelAspect.num > 0) {
    video.aspectNumerator = look.pixelAspect.num;
    video.aspectDenominator = look.pixelAspect.den;
  }
  video.colorRange = look.fullRange ? RkColorRange_Full : RkColorRange_Limited;
  return video;
}

// What a file without pictures is shown as, where nothing else sets the format.
SRkVideoResolution DescribeBlack() {
  SRkVideoResolution video{};
  video.width = 1280;
  video.height = 720;
  video.frameRate = RkFrameRate_25;
  video.aspectNumerator = video.aspectDenominator = 1;
  return video;
}

}  // namespace

int RkDescribeMedia(const char* path, SRkMediaDescription* description, SRkMediaReason* reason) {
  std::string why;
  SRkMediaSource source;
  SRkMediaLook look;
  bool probed = false;
  const bool within = RkWithinMemory([&] {
    why = "no path or no description";
    if (path != nullptr && description != nullptr) probed = RkProbeMedia(path, &source, &look, why);
  });
  if (!within) why = "out of memory";  // needs none
  if (!probed) {
    RkSetReason(why, reason);
    return 0;
  }
  *description = {};
  description->format.video = source.hasVideo ? DescribePictures(look) : DescribeBlack();
  if (source.hasAudio) {
    description->format.audio =
        RkMakeWaveFormat(look.channels, static_cast<DWORD>(look.sampleRate), NearestBits(look));
  }
  description->colorMatrix = DescribeMatrix(look.matrix, description->format.video.height);
  description->frameCount = source.FrameCount(description->format.video.frameRate);
  description->hasVideo = source.hasVideo;
  description->hasAudio = source.hasAudio;
  return 1;
}
