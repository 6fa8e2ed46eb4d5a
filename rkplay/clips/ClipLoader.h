#pragma once

#include <string>
#include <vector>

#include "contracts/RkMediaRecords.h"
#include "rkplay/cli/ClipArgument.h"
#include "rkplay/cli/Options.h"
#include "rkplay/clips/ClipList.h"

namespace rkplay {

// What is to be played, checked to the end: every clip has been opened once.
struct Programme {
  SRkClipFormat format;
  std::vector<ClipList> lists;
  std::vector<std::string> inputPaths;  // every file that is read
};

// Turns the command line's clips into lists of elements of their own, and chooses the format. Throws
// UsageError, naming the file and the reason.
Programme LoadProgramme(const Options& options);

// The same for a single clip: one media file or pattern, whole. `otherwise` is the complaint about any other
// text.
Programme LoadClip(const std::string& text, const FormatOptions& format, const std::string& otherwise);

}  // namespace rkplay
