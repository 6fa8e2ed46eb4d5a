#pragma once

#include <string>

#include "contracts/RkMediaElement.h"
#include "libraries/media/CRkPictureTimeline.h"
#include "libraries/media/RkPictureKind.h"

// What is known of a media file before it is played. Shared and unchanged once it has been found out.
struct SRkMediaSource {
  std::string path;
  bool hasVideo = false;
  bool hasAudio = false;
  CRkPictureTimeline pictures;  // of files with pictures
  bool isInterlaced = false;    // as the first picture is marked
  // Time 0 of the element: the first picture, or the first sound of a file without pictures.
  AVRational originTimeBase{0, 1};
  int64_t origin = 0;
  int64_t soundEnd = 0;  // of files without pictures, in the same ticks

  UINT FrameCount(int frameRate) const {
    const AVRational rate = RkAvFrameRate(frameRate);
    return hasVideo ? pictures.FrameCount(rate) : RkFramesInTicks(soundEnd - origin, originTimeBase, rate);
  }
};

// What the media itself looks like; the parts of streams that are missing are 0.
struct SRkMediaLook {
  AVRational frameRate{0, 1};
  SRkPictureKind picture;
  int channels = 0;
  int sampleRate = 0;
  AVSampleFormat sampleFormat = AV_SAMPLE_FMT_NONE;
  int sampleBits = 0;  // that carry sound, 0 where the codec does not say
};

// Hands a reason out in whole characters; `out` may be null.
void RkSetReason(const std::string& reason, SRkMediaReason* out);

// False when the file cannot be played; `reason` then says why. `look` may be null.
bool RkProbeMedia(const std::string& path, SRkMediaSource* source, SRkMediaLook* look, std::string& reason);
