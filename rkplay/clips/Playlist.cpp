#include "rkplay/clips/Playlist.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <utility>

#include "rkplay/cli/Messages.h"

namespace rkplay {
namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

std::string_view Trimmed(std::string_view line) {
  constexpr char kBlanks[] = " \t\r";
  const size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

// The path of a file: URL on this machine, its %XX decoded; any other text as it is.
std::string WithoutUrl(std::string_view entry) {
  for (const std::string_view prefix : {"file://localhost/", "file:///", "file:/"}) {
    if (!entry.starts_with(prefix)) continue;
    const std::string_view coded = entry.substr(prefix.size() - 1);
    std::string path;
    for (size_t i = 0; i < coded.size(); ++i) {
      unsigned char letter = 0;
      const char* const digits = coded.data() + i + 1;
      const bool isCoded = coded[i] == '%' && i + 2 < coded.size() &&
                           std::from_chars(digits, digits + 2, letter, 16).ptr == digits + 2;
      path += isCoded ? static_cast<char>(letter) : coded[i];
      if (isCoded) i += 2;
    }
    return path;
  }
  return std::string(entry);
}

ClipArgument ParseEntry(std::string_view entry, const std::filesystem::path& folder, bool allowUrls) {
  const auto exists = [&folder](const std::string& name) {
    std::error_code error;
    return std::filesystem::exists(folder / name, error);
  };
  ClipArgument clip = ParseClipArgument(WithoutUrl(entry), exists);
  if (clip.kind == ClipKind::Playlist) throw UsageError("a playlist inside a playlist");
  if (clip.path == "-") throw UsageError("-: the standard input is played from the command line only");
  if (IsAddress(clip.path)) {
    if (!allowUrls) throw UsageError(clip.path + ": addresses in playlists are opened with --allow-urls");
    return clip;
  }
  if (clip.kind == ClipKind::File) clip.path = (folder / clip.path).string();
  return clip;
}

}  // namespace

std::vector<PlaylistEntry> ReadPlaylist(const std::string& path, bool allowUrls) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) throw UsageError(path + ": " + std::strerror(EISDIR));
  std::ifstream file(path, std::ios::binary);
  if (!file) throw UsageError(path + ": " + std::strerror(errno));

  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  std::vector<PlaylistEntry> entries;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (number == 1 && line.starts_with(kByteOrderMark)) line.erase(0, sizeof(kByteOrderMark) - 1);
    const std::string_view entry = Trimmed(line);
    if (entry.empty() || entry.front() == '#') continue;
    const std::string context = path + ": line " + std::to_string(number) + ": ";
    try {
      entries.push_back({context, ParseEntry(entry, folder, allowUrls)});
    } catch (const UsageError& refusal) {
      throw UsageError(context + refusal.what());
    }
  }
  if (file.bad()) throw UsageError(path + ": " + std::strerror(errno));
  if (entries.empty()) throw UsageError(path + ": the playlist names no clip");
  return entries;
}

}  // namespace rkplay
