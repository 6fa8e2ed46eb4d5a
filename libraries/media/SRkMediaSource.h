#pragma once

#include <memory>
#include <string>

#include "contracts/RkMediaElement.h"
#include "libraries/media/CRkPictureTimeline.h"
#include "libraries/media/CRkSplices.h"
#include "libraries/media/RkPictureKind.h"
#include "libraries/media/RkSoundTracks.h"

// The facts about a media file that playing it needs. Shared, and unchanged once probed.
struct SRkMediaSource {
  std::string path;
  bool hasVideo = false;
  bool hasAudio = false;
  bool hasCover = false;    // a picture beside the sound of a file without pictures
  bool isStill = false;     // one picture without a time
  bool isSequence = false;  // one picture for each frame of any rate
  SRkSoundTracks sound;
  CRkPictureTimeline pictures;                // of files with pictures
  bool isInterlaced = false;                  // as the first picture is marked
  std::shared_ptr<const CRkSplices> splices;  // null where timestamps never jump
  // Time 0 of the element: the first picture, or the first sound of a file without pictures.
  AVRational originTimeBase{0, 1};
  int64_t origin = 0;
  AVRational soundTimeBase{0, 1};
  int64_t soundEnd = AV_NOPTS_VALUE;  // where it is known

  AVRational PictureClock(int frameRate) const {
    return isSequence ? pictures.Rate() : RkAvFrameRate(frameRate);
  }
  UINT FrameCount(int frameRate, const SRkMediaOptions& options) const;
  // From the element's time 0 to the end of the sound; 0 where it is not known.
  UINT SoundFrameCount(int frameRate) const;
  // 0 or less where the pictures last as long.
  int64_t SoundExcessMs(int frameRate) const;
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

void RkDescribe(const SRkMediaSource& source, const SRkMediaLook& look, SRkMediaDescription* description);

// Hands a reason out in whole characters; `out` may be null.
void RkSetReason(const std::string& reason, SRkMediaReason* out);

// False when the file cannot be played; `reason` then says why.
bool RkProbeMedia(const std::string& path, const SRkMediaOptions& options, SRkMediaSource* source,
                  SRkMediaLook* look, std::string& reason);

// The picture that goes with the sound of a file. Null where there is none that can be shown.
CRkAv<AVFrame> RkReadCover(const std::string& path);

class CRkFileSurvey;

// Finds the times of a file's pictures and how many it states; pictures that a truncated file has lost
// count too. Fills in the timeline, its origin and the splices. The survey has decoded the first picture.
//
// Containers of the mov family have an index of every picture at hand; other files are read through.
bool RkScanPictures(CRkFileSurvey& survey, SRkMediaSource* source, std::string& reason);
