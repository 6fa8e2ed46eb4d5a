#include <algorithm>
#include <string_view>

#include "libraries/media/CRkFileSurvey.h"
#include "libraries/media/RkImageSequence.h"
#include "libraries/media/SRkMediaSource.h"

namespace {

// A single picture in a file of its own. Such files have no times.
bool IsStill(const AVInputFormat& format) {
  const std::string_view name = format.name;
  return name == "image2" || name.ends_with("_pipe");
}

bool FindTimes(CRkFileSurvey& survey, SRkMediaSource* source, std::string& reason) {
  const AVRational timeBase = survey.PictureStream()->time_base;
  const int64_t first = survey.FirstPicture()->pts == AV_NOPTS_VALUE ? 0 : survey.FirstPicture()->pts;
  if (const auto sequence = RkFindImageSequence(source->path)) {
    reason = sequence->missing.empty() ? "" : "its picture " + sequence->missing + " is missing";
    if (!reason.empty()) return false;
    source->isSequence = true;
    source->pictures = CRkPictureTimeline::Constant(timeBase, first, av_inv_q(timeBase), sequence->count);
    return true;
  }
  source->isStill = IsStill(*survey.Source().Format()->iformat);
  if (!source->isStill) return RkScanPictures(survey, source, reason);
  source->pictures = CRkPictureTimeline::Counted(timeBase, 0, {25, 1}, 1);
  return true;
}

bool ProbePictures(CRkFileSurvey& survey, SRkMediaSource* source, SRkMediaLook* look, std::string& reason) {
  CRkAv<AVFrame> frame(survey.FirstPicture() != nullptr ? av_frame_clone(survey.FirstPicture()) : nullptr);
  if (frame == nullptr) {
    reason = "none of its pictures can be decoded";
    return false;
  }
  AVStream* stream = survey.PictureStream();
  RkCompletePicture(survey.Source().Format(), stream, frame.get());
  reason = RkWhyNotConvertible(*frame);
  if (!reason.empty() || !FindTimes(survey, source, reason)) return false;
  source->originTimeBase = source->pictures.TimeBase();
  source->origin = source->pictures.Origin();
  source->isInterlaced = frame->interlaced_frame != 0;
  look->frameRate = source->pictures.Rate();
  if (look->frameRate.num == 0) {
    look->frameRate = av_guess_frame_rate(survey.Source().Format(), stream, frame.get());
  }
  look->picture = RkKindOf(*frame);
  return true;
}

bool ProbeSound(CRkFileSurvey& survey, SRkMediaSource* source, SRkMediaLook* look, std::string& reason) {
  const AVFrame* frame = survey.FirstSound();
  if (frame == nullptr) {
    // Sound that never begins is as good as none beside pictures: cameras leave such empty tracks.
    source->hasAudio = false;
    reason = "none of its sound can be decoded";
    return source->hasVideo;
  }
  look->channels = source->sound.used.size() == 1 ? frame->ch_layout.nb_channels : source->sound.Channels();
  look->sampleRate = frame->sample_rate;
  look->sampleFormat = static_cast<AVSampleFormat>(frame->format);
  look->sampleBits = survey.SoundStream()->codecpar->bits_per_raw_sample;
  return true;
}

// Where the sound ends, as far as the file states it or has been read.
void FindSoundEnd(CRkFileSurvey& survey, SRkMediaSource* source) {
  const AVStream* stream = survey.SoundStream();
  const CRkFileSurvey::SRkSoundSpan& span = survey.Sound();
  source->soundTimeBase = stream->time_base;
  if (survey.HasEnded() && span.end > span.first) {
    source->soundEnd = span.end;
    if (source->splices != nullptr) {
      source->soundEnd =
          span.lastEnd + source->splices->ShiftOf(span.lastStart, span.lastPosition, stream->time_base);
    }
  } else if (stream->duration > 0) {
    source->soundEnd = (stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time) + stream->duration;
  }
}

// Where the sound of a file without pictures begins and ends.
bool ScanSound(CRkFileSurvey& survey, SRkMediaSource* source, std::string& reason) {
  while (survey.ReadOn()) {
  }
  FindSoundEnd(survey, source);
  source->originTimeBase = source->soundTimeBase;
  source->origin = survey.Sound().first;
  if (source->soundEnd != AV_NOPTS_VALUE && survey.Sound().end > survey.Sound().first) return true;
  reason = "no sound in it";
  return false;
}

}  // namespace

UINT SRkMediaSource::FrameCount(int frameRate, const SRkMediaOptions& options) const {
  const AVRational rate = RkAvFrameRate(frameRate);
  if (isStill) {
    if (options.stillFrames != 0) return options.stillFrames;
    return static_cast<UINT>(av_rescale(kRkStillSeconds, rate.num, rate.den));
  }
  if (!hasVideo) return SoundFrameCount(frameRate);
  const UINT count = pictures.FrameCount(PictureClock(frameRate));
  return options.holdPicture ? std::max(count, SoundFrameCount(frameRate)) : count;
}

UINT SRkMediaSource::SoundFrameCount(int frameRate) const {
  if (!hasAudio || soundEnd == AV_NOPTS_VALUE) return 0;
  const int64_t begin = av_rescale_q(origin, originTimeBase, soundTimeBase);
  return RkFramesInTicks(soundEnd - begin, soundTimeBase, RkAvFrameRate(frameRate));
}

int64_t SRkMediaSource::SoundExcessMs(int frameRate) const {
  if (!hasVideo || !hasAudio || isStill || soundEnd == AV_NOPTS_VALUE) return 0;
  const int64_t sound =
      av_rescale_q(soundEnd, soundTimeBase, {1, 1000}) - av_rescale_q(origin, originTimeBase, {1, 1000});
  const AVRational rate = RkAvFrameRate(frameRate);
  return sound - av_rescale(pictures.FrameCount(PictureClock(frameRate)), int64_t{1000} * rate.den, rate.num);
}

bool RkProbeMedia(const std::string& path, const SRkMediaOptions& options, SRkMediaSource* source,
                  SRkMediaLook* look, std::string& reason) {
  source->path = path;
  CRkFileSurvey survey;
  if (!survey.Open(path, options.audioTracks, &source->sound, reason)) return false;
  survey.ReadFirstFrames();
  source->hasVideo = survey.HasPictures();
  source->hasAudio = survey.HasSound();
  if (source->hasVideo && !ProbePictures(survey, source, look, reason)) return false;
  if (source->hasAudio && !ProbeSound(survey, source, look, reason)) return false;
  if (source->hasVideo) {
    if (source->hasAudio) FindSoundEnd(survey, source);
    return true;
  }
  source->hasCover = survey.HasCover();
  return ScanSound(survey, source, reason);
}
