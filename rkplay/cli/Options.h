#pragma once

#include <optional>
#include <string>
#include <vector>

#include "contracts/RkMediaElement.h"
#include "rkplay/cli/MonitorOptions.h"
#include "rkplay/cli/Values.h"

namespace rkplay {

// How clips are opened, and what the output format shall be; what is absent comes from the clips.
struct FormatOptions {
  std::optional<PictureSize> size;
  std::optional<int> frameRate;  // an ERkFrameRate
  int pixelFormat = RkPixelFormat_I420;
  int colorRange = RkColorRange_Limited;
  bool keepsPixelFormat = false;  // pixel format and range of the clip instead
  std::optional<DWORD> audioRate;
  std::optional<int> audioChannels;
  int fit = RkFit_Bars;                  // an ERkFit
  int deinterlace = RkDeinterlace_Auto;  // an ERkDeinterlace
  bool allowUrls = false;                // in playlists
  std::string audioTracks;               // as in SRkMediaOptions
  bool holdPicture = false;              // under sound that outlasts the pictures
  bool skipMissing = false;              // clips that cannot be played are left out

  // Borrows from this object.
  SRkMediaOptions Media() const {
    return {sizeof(SRkMediaOptions), fit, deinterlace, 0, audioTracks.c_str(), holdPicture ? TRUE : FALSE};
  }
};

// Empty names: not written.
struct FileOptions {
  std::string videoPath;
  std::string audioPath;
  std::string logPath;
  std::string statsPath;
};

struct Options {
  std::vector<std::string> clips;
  FormatOptions format;
  FrameName startFrame;
  bool realtime = false;
  bool manual = false;
  bool keys = false;  // from the standard input, also where that is no terminal
  std::optional<MonitorOptions> monitor;
  FileOptions files;
};

// Nothing when the command line asked for the help or the version, which has then been printed. Throws
// UsageError.
std::optional<Options> ParseOptions(int argumentCount, char** arguments);

}  // namespace rkplay
