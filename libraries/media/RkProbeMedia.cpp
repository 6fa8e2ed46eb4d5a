#include <algorithm>

#include "libraries/media/CRkStreamDecoder.h"
#include "libraries/media/SRkMediaSource.h"

namespace {

// A stream of the type that is there but cannot be decoded is a failure, not a missing one.
bool HasStream(const CRkPacketSource& file, AVMediaType type, bool* has, std::string& reason) {
  const int stream = file.FindStream(type);
  *has = stream >= 0;
  if (stream != AVERROR_DECODER_NOT_FOUND) return true;
  reason = RkAvErrorText(stream);
  return false;
}

bool ProbePictures(SRkMediaSource* source, SRkMediaLook* look, std::string& reason) {
  CRkStreamDecoder decoder;
  CRkAv<AVFrame> frame(av_frame_alloc());
  if (!decoder.Open(source->path, AVMEDIA_TYPE_VIDEO, nullptr, reason)) return false;
  if (!decoder.NextFrame(frame.get())) {
    reason = "none of its pictures can be decoded";
    return false;
  }
  RkCompletePicture(decoder.Source().Format(), decoder.Stream(), frame.get());
  reason = RkWhyNotConvertible(*frame);
  if (!reason.empty()) return false;
  if (!RkScanPictures(frame->best_effort_timestamp, source, reason)) return false;
  source->originTimeBase = source->pictures.TimeBase();
  source->origin = source->pictures.Origin();
  source->isInterlaced = frame->interlaced_frame != 0;
  if (look == nullptr) return true;
  AVStream* stream = decoder.Stream();
  look->frameRate = source->pictures.Rate();
  if (look->frameRate.num == 0) {
    look->frameRate = av_guess_frame_rate(decoder.Source().Format(), stream, frame.get());
  }
  look->picture = RkKindOf(*frame);
  return true;
}

bool ProbeSound(SRkMediaSource* source, SRkMediaLook* look, std::string& reason) {
  CRkStreamDecoder decoder;
  CRkAv<AVFrame> frame(av_frame_alloc());
  if (!decoder.Open(source->path, AVMEDIA_TYPE_AUDIO, nullptr, reason)) return false;
  if (!decoder.NextFrame(frame.get())) {
    // Sound that never begins is as good as none beside pictures: cameras leave such empty tracks.
    source->hasAudio = false;
    reason = "none of its sound can be decoded";
    return source->hasVideo;
  }
  if (look == nullptr) return true;
  look->channels = frame->ch_layout.nb_channels;
  look->sampleRate = frame->sample_rate;
  look->sampleFormat = static_cast<AVSampleFormat>(frame->format);
  look->sampleBits = decoder.Stream()->codecpar->bits_per_raw_sample;
  return true;
}

// Excludes a packet's padding: samples that only the codec needs.
void CutPadding(const AVPacket& packet, int sampleRate, AVRational timeBase, int64_t* start, int64_t* end) {
  size_t size = 0;
  const uint8_t* skip = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
  if (skip == nullptr || size < 8 || sampleRate <= 0) return;
  const auto word = [skip](int at) {
    return static_cast<int64_t>(skip[at] | skip[at + 1] << 8 | skip[at + 2] << 16) |
           static_cast<int64_t>(skip[at + 3]) << 24;
  };
  *start += av_rescale_q(word(0), {1, sampleRate}, timeBase);
  *end -= av_rescale_q(word(4), {1, sampleRate}, timeBase);
}

// Where the sound of a file without pictures begins and ends.
bool ScanSound(SRkMediaSource* source, std::string& reason) {
  CRkPacketSource file;
  if (!file.Open(source->path, reason)) return false;
  file.Select(file.FindStream(AVMEDIA_TYPE_AUDIO));
  const AVRational timeBase = file.Stream()->time_base;
  CRkAv<AVPacket> packet(av_packet_alloc());
  int64_t first = INT64_MAX;
  int64_t last = INT64_MIN;
  int64_t untimed = 0;
  while (file.Read(packet.get())) {
    if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0) continue;
    int64_t start = packet->pts == AV_NOPTS_VALUE ? untimed : packet->pts;
    int64_t end = start + packet->duration;
    untimed = end;
    CutPadding(*packet, file.Stream()->codecpar->sample_rate, timeBase, &start, &end);
    first = std::min(first, start);
    last = std::max(last, end);
  }
  if (last <= first) {
    reason = "no sound in it";
    return false;
  }
  source->originTimeBase = timeBase;
  source->origin = first;
  source->soundEnd = last;
  return true;
}

}  // namespace

void RkSetReason(const std::string& reason, SRkMediaReason* out) {
  if (out == nullptr) return;
  size_t length = std::min(reason.size(), sizeof(out->text) - 1);
  const auto continues = [&](size_t at) { return (static_cast<unsigned char>(reason[at]) & 0xC0) == 0x80; };
  if (length < reason.size()) {
    while (length > 0 && continues(length)) --length;
  }
  std::copy_n(reason.begin(), length, out->text);
  out->text[length] = 0;
}

bool RkProbeMedia(const std::string& path, SRkMediaSource* source, SRkMediaLook* look, std::string& reason) {
  source->path = path;
  {
    CRkPacketSource file;
    if (!file.Open(path, reason)) return false;
    if (!HasStream(file, AVMEDIA_TYPE_VIDEO, &source->hasVideo, reason)) return false;
    if (!HasStream(file, AVMEDIA_TYPE_AUDIO, &source->hasAudio, reason)) return false;
  }
  if (!source->hasVideo && !source->hasAudio) {
    reason = "no picture or sound in it";
    return false;
  }
  if (source->hasVideo && !ProbePictures(source, look, reason)) return false;
  if (source->hasAudio && !ProbeSound(source, look, reason)) return false;
  if (!source->hasVideo && !ScanSound(source, reason)) return false;
  return true;
}
