#pragma once

#include <optional>
#include <string>
#include <vector>

#include "contracts/RkTypes.h"
#include "rkplay/cli/MonitorOptions.h"

namespace rkplay {

// What the output format shall be; what is absent comes from the clips.
struct FormatOptions {
  struct Size {
    int width;
    int height;
  };
  std::optional<Size> size;
  std::optional<int> frameRate;  // an ERkFrameRate
  std::optional<DWORD> audioRate;
  std::optional<int> audioChannels;
};

struct Options {
  std::vector<std::string> clips;
  FormatOptions format;
  UINT startFrame = 0;
  bool realtime = false;
  bool manual = false;
  bool keys = false;  // from the standard input, also where that is no terminal
  std::optional<MonitorOptions> monitor;
  std::string videoPath;  // empty: not written; so for all four
  std::string audioPath;
  std::string logPath;
  std::string statsPath;
};

// Nothing when the command line asked for the help or the version, which has then been printed. Throws
// UsageError.
std::optional<Options> ParseOptions(int argumentCount, char** arguments);

}  // namespace rkplay
