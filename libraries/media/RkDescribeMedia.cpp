#include <cmath>
#include <limits>

#include "contracts/RkMediaElement.h"
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

SRkVideoResolution DescribePictures(const SRkMediaLook& look) {
  SRkVideoResolution video{};
  const SRkPictureKind& kind = look.picture;
  video.width = kind.ShownWidth();
  video.height = kind.ShownHeight();
  video.pixelFormat = NearestPixelFormat(kind.pixelFormat);
  video.frameRate = NearestFrameRate(look.frameRate);
  video.aspectNumerator = kind.exchangeAxes ? kind.aspectHeight : kind.aspectWidth;
  video.aspectDenominator = kind.exchangeAxes ? kind.aspectWidth : kind.aspectHeight;
  video.colorRange = kind.fullRange ? RkColorRange_Full : RkColorRange_Limited;
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

void RkDescribe(const SRkMediaSource& source, const SRkMediaLook& look, SRkMediaDescription* description) {
  *description = {};
  description->format.video = source.hasVideo ? DescribePictures(look) : DescribeBlack();
  if (source.hasAudio) {
    description->format.audio =
        RkMakeWaveFormat(look.channels, static_cast<DWORD>(look.sampleRate), NearestBits(look));
  }
  const int frameRate = description->format.video.frameRate;
  description->pictureBits = RkBitDepth(look.picture.pixelFormat);
  description->isInterlaced = source.isInterlaced;
  description->isHighDynamicRange = look.picture.light == ERkLight::Pq || look.picture.light == ERkLight::Hlg;
  description->frameCount = source.FrameCount(frameRate, {});
  description->hasVideo = source.hasVideo;
  description->hasAudio = source.hasAudio;
  source.sound.unused.copy(description->unusedSound, sizeof(description->unusedSound) - 1);
  description->isStill = source.isStill;
  description->isSequence = source.isSequence;
  description->soundExcessMs = source.SoundExcessMs(frameRate);
}
