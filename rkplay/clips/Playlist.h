#pragma once

#include <string>
#include <vector>

#include "rkplay/cli/ClipArgument.h"

namespace rkplay {

struct PlaylistEntry {
  std::string context;  // leads messages: the playlist and the line
  ClipArgument clip;    // a file, by a path that does not depend on the playlist's folder, or a pattern
};

// The clips of an .m3u or .m3u8 file, in order. Blank lines and those that begin with # are skipped; file:
// URLs are taken for the paths they name. Throws UsageError for a file that cannot be read, that names
// nothing, or that names a playlist, the standard input or, unless `allowUrls`, another address.
std::vector<PlaylistEntry> ReadPlaylist(const std::string& path, bool allowUrls);

}  // namespace rkplay
