#include "rkplay/cli/ClipArgument.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>

#include "rkplay/cli/Messages.h"

namespace rkplay {
namespace {

constexpr char kPatternPrefix[] = "pattern:";
constexpr char kLivePattern[] = "live";
constexpr UINT kDefaultPatternFrames = 250;
constexpr UINT kMaximumFrames = kRkNoPosition - 1;

// Cuts `mark` and what follows it off the last component of the name; nothing when it is not there.
std::optional<std::string> CutSuffix(std::string& name, char mark) {
  const size_t at = name.rfind(mark);
  const size_t slash = name.rfind('/');
  if (at == std::string::npos || (slash != std::string::npos && at < slash)) return std::nullopt;
  std::string suffix = name.substr(at + 1);
  name.erase(at);
  return suffix;
}

// A malformed suffix may also be part of the name of a file that does not exist.
[[noreturn]] void RefuseSuffix(const std::string& clip, const std::string& complaint) {
  throw UsageError(clip + ": " + complaint +
                   (IsPatternName(clip) ? "" : ", and there is no file of that name"));
}

int ParseRepeatCount(const std::string& text, const std::string& clip) {
  if (text.empty()) return kRkRepeatEndless;
  const auto count = ParseNumber<int>(text, 1, std::numeric_limits<int>::max());
  if (count) return *count;
  RefuseSuffix(clip, "'*" + text + "' is not a repeat count of at least 1");
}

RangeName ParseRange(const std::string& text, const std::string& clip) {
  if (const auto range = RangeName::Parse(text)) return *range;
  RefuseSuffix(clip, "'@" + text + "' is not a frame range IN-OUT");
}

UINT ParsePattern(const std::string& text) {
  const std::string frames = text.substr(sizeof(kPatternPrefix) - 1);
  if (frames.empty()) return kDefaultPatternFrames;
  if (frames == kLivePattern) return kRkNoPosition;
  const auto count = ParseNumber<UINT>(frames, 1, kMaximumFrames);
  if (count) return *count;
  throw UsageError(text + ": '" + frames + "' is neither a frame count from 1 to " +
                   std::to_string(kMaximumFrames) + " nor " + kLivePattern);
}

bool IsPlaylistName(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return extension == ".m3u" || extension == ".m3u8";
}

}  // namespace

bool IsPatternName(const std::string& text) {
  return text.starts_with(kPatternPrefix);
}

bool IsAddress(const std::string& text) {
  const size_t end = text.find("://");
  return end != std::string::npos && end > 0 &&
         std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end),
                     [](char letter) { return letter >= 'a' && letter <= 'z'; });
}

ClipArgument ParseClipArgument(const std::string& text, const FileExists& exists) {
  ClipArgument clip;
  clip.text = text;
  clip.path = text;
  if (text.empty()) throw UsageError("a clip without a name");
  if (text == "-" || IsAddress(text)) return clip;
  if (!exists(clip.path)) {
    if (const auto repeat = CutSuffix(clip.path, '*')) clip.repeatCount = ParseRepeatCount(*repeat, text);
    if (!exists(clip.path)) {
      if (const auto range = CutSuffix(clip.path, '@')) clip.range = ParseRange(*range, text);
    }
  }
  if (IsPatternName(clip.path)) {
    clip.kind = ClipKind::Pattern;
    clip.patternFrames = ParsePattern(clip.path);
  } else if (IsPlaylistName(clip.path)) {
    clip.kind = ClipKind::Playlist;
  }
  return clip;
}

ClipArgument ParseClipArgument(const std::string& text) {
  return ParseClipArgument(text, [](const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
  });
}

}  // namespace rkplay
