#include "rkplay/clips/Playlist.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "rkplay/cli/ClipArgument.h"
#include "rkplay/cli/UsageError.h"

namespace rkplay {
namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

std::string_view Trimmed(std::string_view line) {
  constexpr char kBlanks[] = " \t\r";
  const size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

std::string Resolved(std::string_view entry, const std::string& playlist) {
  if (entry.starts_with("pattern:")) return std::string(entry);
  return std::filesystem::path(playlist).parent_path() / std::filesystem::path(entry);
}

}  // namespace

std::vector<PlaylistEntry> ReadPlaylist(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) throw UsageError(path + ": " + std::strerror(EISDIR));
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": " + std::strerror(errno));

  std::vector<PlaylistEntry> entries;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (number == 1 && line.starts_with(kByteOrderMark)) line.erase(0, sizeof(kByteOrderMark) - 1);
    const std::string_view entry = Trimmed(line);
    if (entry.empty() || entry.front() == '#') continue;
    entries.push_back({number, Resolved(entry, path)});
    if (IsPlaylistName(entries.back().clip)) {
      throw UsageError(path + ": line " + std::to_string(number) + ": a playlist inside a playlist");
    }
  }
  if (file.bad()) throw UsageError(path + ": " + std::strerror(errno));
  if (entries.empty()) throw UsageError(path + ": the playlist names no clip");
  return entries;
}

}  // namespace rkplay
