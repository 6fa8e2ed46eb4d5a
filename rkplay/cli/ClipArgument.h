#pragma once

#include <functional>
#include <optional>
#include <string>

#include "rkplay/cli/Values.h"

namespace rkplay {

enum class ClipKind { File, Pattern, Playlist };

// One clip as the user names it, on the command line or in a playlist: NAME[@IN-OUT][*N]. An address and
// the standard input (-) are taken as they are, without range and count.
struct ClipArgument {
  std::string text;  // as it was given
  ClipKind kind = ClipKind::File;
  std::string path;        // of a file or a playlist; an address, or -
  UINT patternFrames = 0;  // of a pattern; kRkNoPosition for one without an end
  std::optional<RangeName> range;
  int repeatCount = 1;  // or kRkRepeatEndless
};

using FileExists = std::function<bool(const std::string& path)>;

// Throws UsageError. Whatever exists under its full name is that file, also with @ or * in the name.
ClipArgument ParseClipArgument(const std::string& text, const FileExists& exists);
ClipArgument ParseClipArgument(const std::string& text);

bool IsPatternName(const std::string& text);
bool IsAddress(const std::string& text);  // SCHEME://...

}  // namespace rkplay
