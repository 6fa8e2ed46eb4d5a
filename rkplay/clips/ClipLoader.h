#pragma once

#include <string>
#include <vector>

#include "contracts/RkMediaRecords.h"
#include "rkplay/cli/Options.h"
#include "rkplay/clips/ClipList.h"

namespace rkplay {

// What is to be played, checked to the end: every file has been examined once.
struct Programme {
  SRkClipFormat format;
  bool hasPictures;  // in any clip
  std::vector<ClipList> lists;
  std::vector<std::string> inputPaths;  // every file that is read
  std::vector<std::string> notes;       // on the clips, a line each
};

// For how long a clip may use no processor time before its slot goes on without it: on air, the frames read
// ahead bridge such a wait; a run that nobody watches can afford a slow disk.
inline constexpr DWORD kOnAirPatienceMs = 1000;
inline constexpr DWORD kOfflinePatienceMs = 10000;

// Turns the command line's clips into lists of elements of their own, and chooses the format. Throws
// UsageError, naming the file and the reason.
Programme LoadProgramme(const std::vector<std::string>& clips, const FormatOptions& format, DWORD patienceMs);

// Lets the first list begin with the frame, the value of --start. Throws UsageError past its end.
void StartAt(Programme& programme, const FrameName& frame);

// The programme of a single clip: one media file or pattern, whole. `otherwise` is the complaint about any
// other text; the patience is that of LoadProgramme.
Programme LoadClip(const std::string& text, const FormatOptions& format, const std::string& otherwise,
                   DWORD patienceMs);

}  // namespace rkplay
