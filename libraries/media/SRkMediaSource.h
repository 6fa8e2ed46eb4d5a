#pragma once

#include <memory>
#include <string>

#include "contracts/RkMediaElement.h"
#include "libraries/media/CRkPictureTimeline.h"
#include "libraries/media/CRkSplices.h"
#include "libraries/media/RkPictureKind.h"

// The facts about a media file that playing it needs. Shared, and unchanged once probed.
struct SRkMediaSource {
  std::string path;
  bool hasVideo = false;
  bool hasAudio = false;
  CRkPictureTimeline pictures;                // of files with pictures
  bool isInterlaced = false;                  // as the first picture is marked
  std::shared_ptr<const CRkSplices> splices;  // null where timestamps never jump
  // Time 0 of the element: the first picture, or the first sound of a file without pictures.
  AVRational originTimeBase{0, 1};
  int64_t origin = 0;
  int64_t soundEnd = 0;  // of files without pictures, in the same ticks

  UINT FrameCount(int frameRate) const {
    const AVRational rate = RkAvFrameRate(frameRate);
    return hasVideo ? pictures.FrameCount(rate) : RkFramesInTicks(soundEnd - origin, originTimeBase, rate);
  }
};

// The properties of the media itself; those of missing streams are 0.
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

// Finds the times of a file's pictures and how many it states; pictures that a truncated file has lost
// count too. Fills in the timeline, its origin and the splices. `firstDecoded` is the timestamp of
// the first picture that a decoder gave.
//
// Containers of the mov family have an index of every picture at hand; other files are read through once.
bool RkScanPictures(int64_t firstDecoded, SRkMediaSource* source, std::string& reason);
