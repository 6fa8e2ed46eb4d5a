#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "contracts/RkMediaRecords.h"
#include "rkplay/monitor/PresentationMeter.h"

namespace rkplay {

// How a list went. Damaged: whole, but with frames that could not be read.
enum class ListOutcome { NotPlayed, Played, Damaged, Taken, Stopped, Failed };

// Frames of one clip that stood in for others, for one reason.
struct ClipFault {
  std::string clip;
  std::string reason;
  ULONGLONG firstFrame;  // on air, counted over the whole programme
  ULONGLONG frames;
};

struct ListResult {
  std::string clip;
  int frameRate = 0;
  ListOutcome outcome = ListOutcome::NotPlayed;
  std::optional<ULONGLONG> announcedFrames;  // nothing for an endless list
  ULONGLONG deliveredFrames = 0;
  std::optional<double> firstSampleWaitMs;
  std::vector<ClipFault> faults;

  // Frames on air that stood in for one that could not be read.
  ULONGLONG ReadErrors() const;
  std::string Describe(const ClipFault& fault) const;
};

// What a run came to.
struct Statistics {
  SRkClipFormat format{};
  std::vector<ListResult> lists;
  double wallSeconds = 0;
  double worstStopMs = 0;
  bool realtime = false;
  ULONGLONG lateFrames = 0;
  double worstLateMs = 0;
  std::optional<Presentation> seen;  // with a monitor
  int stopSignal = 0;
  std::vector<std::string> errors;  // one line each
  std::vector<std::string> notes;   // on the clips, one line each

  ULONGLONG DeliveredFrames() const;
  ULONGLONG ReadErrorCount() const;
  ULONGLONG ChangeOvers() const;
  // Over the change-overs; 0 without one.
  double LongestChangeOverMs() const;
  // Play time over wall time.
  double Speed() const;
  int ExitCode() const;
};

void PrintSeen(const Presentation& seen, std::FILE* out);
void PrintSummary(const Statistics& statistics, std::FILE* out);
std::string ToJson(const Statistics& statistics);

}  // namespace rkplay
