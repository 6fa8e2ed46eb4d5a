#include "rkplay/play/Statistics.h"

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <numeric>

#include "rkplay/cli/FrameRate.h"
#include "rkplay/cli/Messages.h"

namespace rkplay {
namespace {

using Json = nlohmann::ordered_json;

const char* NameOf(ListOutcome outcome) {
  switch (outcome) {
    case ListOutcome::Played:
      return "played";
    case ListOutcome::Damaged:
      return "damaged";
    case ListOutcome::Taken:
      return "taken";
    case ListOutcome::Stopped:
      return "stopped";
    case ListOutcome::Failed:
      return "failed";
    case ListOutcome::NotPlayed:
      break;
  }
  return "not played";
}

template <class Value>
Json OrNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json(nullptr);
}

double PlaySeconds(const Statistics& statistics) {
  return std::chrono::duration<double>(
             FrameTime(statistics.format.video.frameRate, statistics.DeliveredFrames()))
      .count();
}

Json ToJson(const ListResult& list) {
  Json faults = Json::array();
  for (const ClipFault& fault : list.faults) {
    faults.push_back({{"clip", fault.clip},
                      {"reason", fault.reason},
                      {"firstFrame", fault.firstFrame},
                      {"timecode", Timecode(list.frameRate, fault.firstFrame)},
                      {"frames", fault.frames}});
  }
  return {{"clip", list.clip},
          {"outcome", NameOf(list.outcome)},
          {"announcedFrames", OrNull(list.announcedFrames)},
          {"deliveredFrames", list.deliveredFrames},
          {"firstSampleWaitMs", OrNull(list.firstSampleWaitMs)},
          {"readErrors", list.ReadErrors()},
          {"faults", faults}};
}

Json ToJson(const SRkClipFormat& format) {
  const auto [numerator, denominator] = kRkFrameRates[format.video.frameRate];
  return {{"width", format.video.width},
          {"height", format.video.height},
          {"frameRate", std::to_string(numerator) + "/" + std::to_string(denominator)},
          {"audioRate", format.audio.samplesPerSecond},
          {"audioChannels", std::max(format.audio.channels, 0)},
          {"bitsPerSample", format.audio.bitsPerSample}};
}

Json ToJson(const Presentation& seen) {
  return {{"shown", seen.shown},
          {"passedOver", seen.passedOver},
          {"unseen", seen.unseen},
          {"displayLosses", seen.displayLosses},
          {"repeated", seen.repeated},
          {"silenceFrames", seen.silenceFrames},
          {"droppedSoundSamples", seen.droppedSound},
          {"soundLosses", seen.soundLosses},
          {"medianOffsetMs", OrNull(seen.medianOffsetMs)},
          {"worstOffsetMs", OrNull(seen.worstOffsetMs)}};
}

void PrintList(const ListResult& list, size_t number, std::FILE* out) {
  const std::string announced = list.announcedFrames ? std::to_string(*list.announcedFrames) : "endless";
  char wait[32] = "-";
  if (list.firstSampleWaitMs) std::snprintf(wait, sizeof(wait), "%.2f ms", *list.firstSampleWaitMs);
  std::fprintf(out, "%5zu  %10llu  %10s  %12s  %11llu  %-10s  %s\n", number, list.deliveredFrames,
               announced.c_str(), wait, list.ReadErrors(), NameOf(list.outcome),
               Printable(list.clip).c_str());
}

}  // namespace

ULONGLONG ListResult::ReadErrors() const {
  return std::accumulate(faults.begin(), faults.end(), 0ull,
                         [](ULONGLONG sum, const ClipFault& fault) { return sum + fault.frames; });
}

std::string ListResult::Describe(const ClipFault& fault) const {
  return fault.clip + " at " + Timecode(frameRate, fault.firstFrame) + ": " + fault.reason + " (" +
         std::to_string(fault.frames) + " frames went out as the last good picture or black)";
}

ULONGLONG Statistics::DeliveredFrames() const {
  return std::accumulate(lists.begin(), lists.end(), 0ull,
                         [](ULONGLONG sum, const ListResult& list) { return sum + list.deliveredFrames; });
}

ULONGLONG Statistics::ReadErrorCount() const {
  return std::accumulate(lists.begin(), lists.end(), 0ull,
                         [](ULONGLONG sum, const ListResult& list) { return sum + list.ReadErrors(); });
}

ULONGLONG Statistics::ChangeOvers() const {
  const auto begun = std::count_if(lists.begin(), lists.end(),
                                   [](const ListResult& list) { return list.firstSampleWaitMs.has_value(); });
  return begun > 1 ? static_cast<ULONGLONG>(begun - 1) : 0;
}

double Statistics::LongestChangeOverMs() const {
  bool isFirst = true;
  double longest = 0;
  for (const ListResult& list : lists) {
    if (!list.firstSampleWaitMs) continue;
    if (!isFirst) longest = std::max(longest, *list.firstSampleWaitMs);
    isFirst = false;
  }
  return longest;
}

double Statistics::Speed() const {
  return wallSeconds > 0 ? PlaySeconds(*this) / wallSeconds : 0;
}

int Statistics::ExitCode() const {
  if (!errors.empty()) return 1;
  return stopSignal == 0 ? 0 : 128 + stopSignal;
}

void PrintSeen(const Presentation& seen, std::FILE* out) {
  std::fprintf(out, "shown         %llu frames, %llu passed over late, %llu shown more than once\n",
               seen.shown, seen.passedOver, seen.repeated);
  if (seen.displayLosses != 0 || seen.unseen != 0) {
    std::fprintf(out, "display       losses: %u, frames not seen: %llu\n", seen.displayLosses, seen.unseen);
  }
  if (seen.soundLosses != 0 || seen.droppedSound != 0) {
    std::fprintf(out, "sound system  losses: %u, samples not heard: %llu\n", seen.soundLosses,
                 seen.droppedSound);
  }
  if (!seen.medianOffsetMs || !seen.worstOffsetMs) return;
  std::fprintf(out,
               "sound         %+.1f ms against the picture (median), %+.1f ms at worst; %llu frames of "
               "silence\n",
               *seen.medianOffsetMs, *seen.worstOffsetMs, seen.silenceFrames);
}

void PrintSummary(const Statistics& statistics, std::FILE* out) {
  std::fprintf(out, "\n%5s  %10s  %10s  %12s  %11s  %-10s  %s\n", "list", "delivered", "announced",
               "first frame", "read errors", "outcome", "clip");
  size_t number = 0;
  for (const ListResult& list : statistics.lists) PrintList(list, ++number, out);
  const ULONGLONG frames = statistics.DeliveredFrames();
  std::fprintf(out, "\ndelivered     %llu frames (%s) in %.2f s, %.1f times playing speed\n", frames,
               Timecode(statistics.format.video.frameRate, frames).c_str(), statistics.wallSeconds,
               statistics.Speed());
  std::fprintf(out, "change-overs  %llu, longest wait for a first frame %.2f ms\n", statistics.ChangeOvers(),
               statistics.LongestChangeOverMs());
  std::fprintf(out, "read errors   %llu\n", statistics.ReadErrorCount());
  if (statistics.realtime) {
    std::fprintf(out, "late frames   %llu, the latest by %.1f ms\n", statistics.lateFrames,
                 statistics.worstLateMs);
  }
  if (statistics.seen) PrintSeen(*statistics.seen, out);
  std::fprintf(out, "worst stop    %.2f ms\n", statistics.worstStopMs);
  for (const std::string& note : statistics.notes)
    std::fprintf(out, "note          %s\n", Printable(note).c_str());
  std::fflush(out);
}

std::string ToJson(const Statistics& statistics) {
  Json lists = Json::array();
  for (const ListResult& list : statistics.lists) lists.push_back(ToJson(list));
  Json json = {{"exitCode", statistics.ExitCode()},
               {"stopSignal", statistics.stopSignal},
               {"format", ToJson(statistics.format)},
               {"lists", lists},
               {"deliveredFrames", statistics.DeliveredFrames()},
               {"changeOvers", statistics.ChangeOvers()},
               {"longestFirstSampleWaitMs", statistics.LongestChangeOverMs()},
               {"readErrors", statistics.ReadErrorCount()},
               {"worstStopMs", statistics.worstStopMs},
               {"wallSeconds", statistics.wallSeconds},
               {"speed", statistics.Speed()},
               {"notes", statistics.notes},
               {"errors", statistics.errors}};
  if (statistics.realtime) {
    json["lateFrames"] = statistics.lateFrames;
    json["worstLateMs"] = statistics.worstLateMs;
  }
  if (statistics.seen) json["monitor"] = ToJson(*statistics.seen);
  // A file name may be no valid text.
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace rkplay
