#include "rkplay/cli/Values.h"

#include <algorithm>
#include <limits>

#include "rkplay/cli/FrameRate.h"
#include "rkplay/cli/Messages.h"

namespace rkplay {
namespace {

constexpr ULONGLONG kLargestNumber = std::numeric_limits<ULONGLONG>::max();
constexpr int kMaximumSide = 16384;

// What stands before the mark, and what after it; all and nothing without the mark.
std::pair<std::string_view, std::string_view> SplitAt(std::string_view text, char mark) {
  const size_t at = std::min(text.find(mark), text.size());
  return {text.substr(0, at), text.substr(std::min(at + 1, text.size()))};
}

}  // namespace

std::optional<FrameName> FrameName::Parse(std::string_view text) {
  FrameName name;
  name.m_text = text;
  if (IsTimecode(text)) {
    name.m_isTimecode = true;
    return name;
  }
  const auto number = ParseNumber<ULONGLONG>(text, 0, kLargestNumber);
  if (!number) return std::nullopt;
  name.m_number = *number;
  return name;
}

ULONGLONG FrameName::At(int frameRate, const std::string& context) const {
  if (!m_isTimecode) return m_number;
  if (const auto frame = FrameOfTimecode(frameRate, m_text)) return *frame;
  throw UsageError(context + ": there is no timecode " + m_text + " at " + FrameRateName(frameRate) +
                   " frames a second");
}

std::optional<RangeName> RangeName::Parse(std::string_view text) {
  const auto [before, behind] = SplitAt(text, '-');
  const auto in = FrameName::Parse(before);
  const auto out = FrameName::Parse(behind);
  if (!in || !out) return std::nullopt;
  return RangeName{*in, *out};
}

FrameRange RangeName::At(int frameRate, const std::string& context) const {
  const FrameRange range = {in.At(frameRate, context), out.At(frameRate, context)};
  if (range.in < range.out) return range;
  throw UsageError(context + ": the range " + Text() + " holds no frame: IN must be below OUT");
}

PictureSize ParsePictureSize(const std::string& text) {
  const auto [before, behind] = SplitAt(text, 'x');
  const auto width = ParseNumber<int>(before, 1, kMaximumSide);
  const auto height = ParseNumber<int>(behind, 1, kMaximumSide);
  if (width && height) return {*width, *height};
  throw UsageError("--size: '" + text + "' is not WIDTHxHEIGHT with sides from 1 to " +
                   std::to_string(kMaximumSide));
}

}  // namespace rkplay
