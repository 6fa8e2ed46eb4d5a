#pragma once

#include <functional>
#include <optional>
#include <string>

#include "contracts/RkTypes.h"

namespace rkplay {

// The frames p with in <= p < out.
struct FrameRange {
  UINT in;
  UINT out;
};

enum class ClipKind { File, Pattern, Playlist };

// One CLIP of the command line: NAME[@IN-OUT][*N].
struct ClipArgument {
  std::string text;  // as it was given
  ClipKind kind = ClipKind::File;
  std::string path;        // of a file or a playlist
  UINT patternFrames = 0;  // of a pattern
  std::optional<FrameRange> range;
  int repeatCount = 1;  // or kRkRepeatEndless
};

using FileExists = std::function<bool(const std::string& path)>;

// Throws UsageError. Whatever exists under its full name is that file, also with @ or * in the name.
ClipArgument ParseClipArgument(const std::string& text, const FileExists& exists);
ClipArgument ParseClipArgument(const std::string& text);

// The frame count of `pattern:[FRAMES]`; nothing when the text names no pattern. Throws UsageError.
std::optional<UINT> ParsePattern(const std::string& text);

bool IsPlaylistName(const std::string& path);

}  // namespace rkplay
