#pragma once

#include <string>
#include <vector>

namespace rkplay {

struct PlaylistEntry {
  int line;          // in the playlist file, from 1
  std::string clip;  // a path, relative ones already against the playlist's folder, or pattern:[FRAMES]
};

// The clips of an .m3u or .m3u8 file, in order. Blank lines and those that begin with # are skipped.
// Throws UsageError for a file that cannot be read, that names nothing, or that names a playlist.
std::vector<PlaylistEntry> ReadPlaylist(const std::string& path);

}  // namespace rkplay
