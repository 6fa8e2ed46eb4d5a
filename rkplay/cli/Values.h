#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "contracts/RkTypes.h"

namespace rkplay {

// A decimal number without sign, blanks or other ornament, within [minimum, maximum].
template <class Whole>
std::optional<Whole> ParseNumber(std::string_view text, Whole minimum, Whole maximum) {
  Whole value{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end || text.front() == '-') return std::nullopt;
  if (value < minimum || value > maximum) return std::nullopt;
  return value;
}

// A frame as the user names it: a number counted from 0, or a timecode HH:MM:SS:FF (with ;FF in drop-frame
// counting), which names a frame only at a frame rate.
class FrameName {
 public:
  FrameName() = default;
  static std::optional<FrameName> Parse(std::string_view text);

  // The frame's number. Throws UsageError, which begins with the context, when the rate has no such timecode.
  ULONGLONG At(int frameRate, const std::string& context) const;
  const std::string& Text() const { return m_text; }

 private:
  std::string m_text = "0";
  bool m_isTimecode = false;
  ULONGLONG m_number = 0;  // of a name that is no timecode
};

// The frames p with in <= p < out.
struct FrameRange {
  ULONGLONG in;
  ULONGLONG out;
};

// IN-OUT as the user writes it.
struct RangeName {
  FrameName in;
  FrameName out;

  static std::optional<RangeName> Parse(std::string_view text);
  // Never empty. Throws UsageError, which begins with the context.
  FrameRange At(int frameRate, const std::string& context) const;
  std::string Text() const { return in.Text() + "-" + out.Text(); }
};

struct PictureSize {
  int width;
  int height;
};

// WIDTHxHEIGHT, the value of --size. Throws UsageError.
PictureSize ParsePictureSize(const std::string& text);

}  // namespace rkplay
