#include "rkplay/cli/PictureSize.h"

#include <algorithm>

#include "rkplay/cli/Number.h"
#include "rkplay/cli/UsageError.h"

namespace rkplay {
namespace {

constexpr int kMaximumSide = 16384;

}  // namespace

FormatOptions::Size ParsePictureSize(const std::string& text) {
  const std::string_view all = text;
  const size_t cross = std::min(all.find('x'), all.size());
  const auto width = ParseNumber<int>(all.substr(0, cross), 1, kMaximumSide);
  const auto height = ParseNumber<int>(all.substr(std::min(cross + 1, all.size())), 1, kMaximumSide);
  if (width && height) return {*width, *height};
  throw UsageError("--size: '" + text + "' is not WIDTHxHEIGHT with sides from 1 to " +
                   std::to_string(kMaximumSide));
}

}  // namespace rkplay
