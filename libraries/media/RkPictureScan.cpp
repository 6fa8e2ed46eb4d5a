#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "libraries/media/CRkFileSurvey.h"
#include "libraries/media/SRkMediaSource.h"

namespace {

// No codec reorders pictures further than this.
constexpr size_t kMaxReorder = 64;

// The times that the packets of a stream state.
struct SRkPacketTimes {
  std::vector<int64_t> times;  // ascending, each once
  int64_t firstKey = AV_NOPTS_VALUE;
  int64_t end = AV_NOPTS_VALUE;  // of the picture shown last
  UINT count = 0;
  bool untimed = false;  // some packets had no time
};

SRkPacketTimes TimesOf(const std::vector<SRkStoredPicture>& pictures, const CRkSplices* splices,
                       AVRational timeBase) {
  SRkPacketTimes result;
  result.count = static_cast<UINT>(pictures.size());
  for (const SRkStoredPicture& picture : pictures) {
    if (picture.pts == AV_NOPTS_VALUE) {
      result.untimed = true;
      continue;
    }
    const int64_t shift = splices != nullptr ? splices->ShiftOf(picture.pts, picture.position, timeBase) : 0;
    const int64_t time = picture.pts + shift;
    if (picture.isKey && result.firstKey == AV_NOPTS_VALUE) result.firstKey = time;
    result.times.push_back(time);
    if (result.end == AV_NOPTS_VALUE || time + picture.duration > result.end) {
      result.end = time + picture.duration;
    }
  }
  std::sort(result.times.begin(), result.times.end());
  result.times.erase(std::unique(result.times.begin(), result.times.end()), result.times.end());
  return result;
}

// Null where the timestamps do not jump.
std::shared_ptr<const CRkSplices> FindSplices(CRkPacketSource& source,
                                              const std::vector<SRkStoredPicture>& pictures) {
  if ((source.Format()->iformat->flags & AVFMT_TS_DISCONT) == 0) return nullptr;
  auto splices = std::make_shared<CRkSplices>();
  if (!splices->Find(pictures, source.Stream()->time_base, source.Stream()->avg_frame_rate)) return nullptr;
  return splices;
}

// True when every picture is within a quarter frame of its place at the rate.
bool IsConstant(const std::vector<int64_t>& times, AVRational timeBase, AVRational rate) {
  for (size_t i = 0; i < times.size(); ++i) {
    // In quarter frames.
    const int64_t quarters = av_rescale(times[i] - times.front(), int64_t{4} * timeBase.num * rate.num,
                                        int64_t{timeBase.den} * rate.den);
    if (std::abs(quarters - static_cast<int64_t>(i) * 4) > 1) return false;
  }
  return true;
}

// The table's rate where the container's is one of them, written less exactly.
AVRational NearTableRate(AVRational rate) {
  for (int i = 0; i < kRkFrameRateCount; ++i) {
    const AVRational known = RkAvFrameRate(i);
    if (std::abs(av_q2d(rate) / av_q2d(known) - 1.0) < 2e-4) return known;
  }
  return rate;
}

// 0/1 when the times keep no rate.
AVRational FindConstantRate(const std::vector<int64_t>& times, const AVStream* stream) {
  for (const AVRational stated : {stream->avg_frame_rate, stream->r_frame_rate}) {
    if (stated.num <= 0 || stated.den <= 0) continue;
    for (const AVRational rate : {NearTableRate(stated), stated}) {
      if (IsConstant(times, stream->time_base, rate)) return rate;
    }
  }
  for (int i = 0; i < kRkFrameRateCount; ++i) {
    if (IsConstant(times, stream->time_base, RkAvFrameRate(i))) return RkAvFrameRate(i);
  }
  return {0, 1};
}

// Pictures that precede the first key picture can be decoded in some streams only.
int64_t OriginOf(const SRkPacketTimes& packets, int64_t firstDecoded) {
  const int64_t first = packets.times.front();
  if (packets.firstKey == AV_NOPTS_VALUE || packets.firstKey <= first) return first;
  return std::clamp(firstDecoded, first, packets.firstKey);
}

bool IsMovFamily(CRkPacketSource& source) {
  return std::strstr(source.Format()->iformat->name, "mov") != nullptr;
}

// The end of the pictures as the container states it, AV_NOPTS_VALUE where it does not.
int64_t StatedEnd(CRkPacketSource& source, int64_t origin) {
  const AVStream* stream = source.Stream();
  if (IsMovFamily(source) && stream->duration > 0) return origin + stream->duration;
  if (std::strstr(source.Format()->iformat->name, "matroska") == nullptr) return AV_NOPTS_VALUE;
  const AVDictionaryEntry* tag = av_dict_get(stream->metadata, "DURATION", nullptr, AV_DICT_IGNORE_SUFFIX);
  int hours = 0;
  int minutes = 0;
  double seconds = 0.0;
  if (tag == nullptr || std::sscanf(tag->value, "%d:%d:%lf", &hours, &minutes, &seconds) != 3) {
    return AV_NOPTS_VALUE;
  }
  const double total = (hours * 60.0 + minutes) * 60.0 + seconds;
  if (!(total > 0.0 && total < 1e7)) return AV_NOPTS_VALUE;
  return av_rescale_q(static_cast<int64_t>(total * 1e6), AVRational{1, AV_TIME_BASE}, stream->time_base);
}

// The number of pictures as the container states it, at least those that were found.
UINT StatedCount(CRkPacketSource& source, int64_t origin, AVRational rate, size_t found) {
  int64_t stated = source.Stream()->nb_frames;
  if (IsMovFamily(source)) {
    stated = 0;
    const int entries = avformat_index_get_entries_count(source.Stream());
    for (int i = 0; i < entries; ++i) {
      const AVIndexEntry* entry = avformat_index_get_entry(source.Stream(), i);
      if ((entry->flags & AVINDEX_DISCARD_FRAME) == 0) ++stated;
    }
  } else if (const int64_t end = StatedEnd(source, origin); end != AV_NOPTS_VALUE) {
    stated = av_rescale_q(end - origin, source.Stream()->time_base, av_inv_q(rate));
  }
  return static_cast<UINT>(std::clamp<int64_t>(stated, static_cast<int64_t>(found), kRkNoPosition - 1));
}

// Whether the index names every picture, which those of files in fragments do only after reading.
bool IsIndexComplete(CRkPacketSource& source) {
  const int entries = avformat_index_get_entries_count(source.Stream());
  if (entries == 0) return false;
  const AVIndexEntry last = *avformat_index_get_entry(source.Stream(), entries - 1);
  if (!source.SeekBefore(last.timestamp)) return false;
  CRkAv<AVPacket> packet(av_packet_alloc());
  while (source.Read(packet.get())) {
  }
  return avformat_index_get_entries_count(source.Stream()) == entries;
}

// Finds a constant rate from the index alone. False when the whole file must be read; `hasMoved` then tells
// whether the survey has to begin again for that.
bool TimelineFromIndex(CRkFileSurvey& survey, CRkPictureTimeline* timeline, bool* hasMoved) {
  CRkPacketSource& source = survey.Source();
  *hasMoved = false;
  // Files in fragments state no count.
  if (!IsMovFamily(source) || source.Stream()->nb_frames == 0) return false;
  while (survey.Pictures().size() < kMaxReorder && survey.ReadOn()) {
  }
  const SRkPacketTimes head = TimesOf(survey.Pictures(), nullptr, source.Stream()->time_base);
  if (head.untimed || head.times.empty()) return false;
  std::vector<int64_t> decodeTimes;
  const int entries = avformat_index_get_entries_count(source.Stream());
  decodeTimes.reserve(static_cast<size_t>(entries));
  for (int i = 0; i < entries; ++i) {
    decodeTimes.push_back(avformat_index_get_entry(source.Stream(), i)->timestamp);
  }
  const AVRational rate = FindConstantRate(decodeTimes, source.Stream());
  if (rate.num == 0 || !IsConstant(head.times, source.Stream()->time_base, rate)) return false;
  *hasMoved = !survey.HasEnded();
  if (!survey.HasEnded() && !IsIndexComplete(source)) return false;
  const int64_t origin = OriginOf(head, survey.FirstPicture()->best_effort_timestamp);
  const auto leading = std::lower_bound(head.times.begin(), head.times.end(), origin) - head.times.begin();
  const UINT count = StatedCount(source, origin, rate, head.times.size());
  *timeline = CRkPictureTimeline::Constant(source.Stream()->time_base, origin, rate,
                                           count - static_cast<UINT>(leading));
  return true;
}

CRkPictureTimeline TimelineFromTimes(CRkPacketSource& source, SRkPacketTimes packets, int64_t firstDecoded) {
  std::vector<int64_t>& times = packets.times;
  const AVStream* stream = source.Stream();
  const int64_t origin = OriginOf(packets, firstDecoded);
  times.erase(times.begin(), std::lower_bound(times.begin(), times.end(), origin));
  const AVRational rate = FindConstantRate(times, stream);
  if (rate.num != 0) {
    return CRkPictureTimeline::Constant(stream->time_base, origin, rate,
                                        StatedCount(source, origin, rate, times.size()));
  }
  // Containers without durations let the last picture last as long as the one before it.
  int64_t end = packets.end;
  if (end <= times.back()) end = times.back() + (times.back() - times[times.size() - 2]);
  // A stated end that is clearly later: the rest is a picture that cannot be read.
  const int64_t stated = StatedEnd(source, origin);
  if (stated != AV_NOPTS_VALUE && stated - end > 2 * (end - times.back())) {
    times.push_back(end);
    end = stated;
  }
  return CRkPictureTimeline::Variable(stream->time_base, std::move(times), end);
}

CRkPictureTimeline TimelineFromCount(CRkPacketSource& source, UINT count) {
  AVRational rate = NearTableRate(av_guess_frame_rate(source.Format(), source.Stream(), nullptr));
  if (rate.num <= 0 || rate.den <= 0) rate = {25, 1};
  const int64_t start = source.Stream()->start_time;
  return CRkPictureTimeline::Counted(source.Stream()->time_base, start == AV_NOPTS_VALUE ? 0 : start, rate,
                                     count);
}

// Reads on to the end of the file.
bool ScanAll(CRkFileSurvey& survey, SRkMediaSource* media, std::string& reason) {
  while (survey.ReadOn()) {
  }
  const AVFrame* first = survey.FirstPicture();
  const std::vector<SRkStoredPicture>& pictures = survey.Pictures();
  const std::string refusal = survey.Source().Refusal();
  if (first == nullptr || pictures.empty() || !refusal.empty()) {
    reason = refusal.empty() ? "no picture in it" : refusal;
    return false;
  }
  CRkPacketSource& source = survey.Source();
  media->splices = FindSplices(source, pictures);
  SRkPacketTimes packets = TimesOf(pictures, media->splices.get(), source.Stream()->time_base);
  media->pictures = packets.untimed || packets.times.empty()
                        ? TimelineFromCount(source, packets.count)
                        : TimelineFromTimes(source, std::move(packets), first->best_effort_timestamp);
  return true;
}

}  // namespace

bool RkScanPictures(CRkFileSurvey& survey, SRkMediaSource* media, std::string& reason) {
  bool hasMoved = false;
  if (TimelineFromIndex(survey, &media->pictures, &hasMoved)) return true;
  if (!hasMoved) return ScanAll(survey, media, reason);
  CRkFileSurvey again;
  SRkSoundTracks unneeded;
  return again.Open(media->path, nullptr, &unneeded, reason) && ScanAll(again, media, reason);
}
