#include "rkplay/cli/ClipArgument.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>

#include "rkplay/cli/Number.h"
#include "rkplay/cli/UsageError.h"

namespace rkplay {
namespace {

constexpr char kPatternPrefix[] = "pattern:";
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
  const bool isPattern = clip.starts_with(kPatternPrefix);
  throw UsageError(clip + ": " + complaint + (isPattern ? "" : ", and there is no file of that name"));
}

int ParseRepeatCount(const std::string& text, const std::string& clip) {
  if (text.empty()) return kRkRepeatEndless;
  const auto count = ParseNumber<int>(text, 1, std::numeric_limits<int>::max());
  if (count) return *count;
  RefuseSuffix(clip, "'*" + text + "' is not a repeat count of at least 1");
}

FrameRange ParseRange(const std::string& text, const std::string& clip) {
  const size_t dash = text.find('-');
  if (dash != std::string::npos) {
    const auto in = ParseNumber<UINT>(std::string_view(text).substr(0, dash), 0, kMaximumFrames);
    const auto out = ParseNumber<UINT>(std::string_view(text).substr(dash + 1), 0, kMaximumFrames);
    if (in && out && *in < *out) return {*in, *out};
    if (in && out) throw UsageError(clip + ": the range " + text + " is empty (IN must be below OUT)");
  }
  RefuseSuffix(clip, "'@" + text + "' is not a frame range IN-OUT");
}

}  // namespace

std::optional<UINT> ParsePattern(const std::string& text) {
  if (!text.starts_with(kPatternPrefix)) return std::nullopt;
  const std::string frames = text.substr(sizeof(kPatternPrefix) - 1);
  if (frames.empty()) return kDefaultPatternFrames;
  const auto count = ParseNumber<UINT>(frames, 1, kMaximumFrames);
  if (count) return count;
  throw UsageError(text + ": '" + frames + "' is not a frame count from 1 to " +
                   std::to_string(kMaximumFrames));
}

bool IsPlaylistName(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return extension == ".m3u" || extension == ".m3u8";
}

ClipArgument ParseClipArgument(const std::string& text, const FileExists& exists) {
  ClipArgument clip;
  clip.text = text;
  clip.path = text;
  if (text.empty()) throw UsageError("a clip without a name");
  if (!exists(clip.path)) {
    if (const auto repeat = CutSuffix(clip.path, '*')) clip.repeatCount = ParseRepeatCount(*repeat, text);
    if (!exists(clip.path)) {
      if (const auto range = CutSuffix(clip.path, '@')) clip.range = ParseRange(*range, text);
    }
  }
  if (const auto frames = ParsePattern(clip.path)) {
    clip.kind = ClipKind::Pattern;
    clip.patternFrames = *frames;
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
