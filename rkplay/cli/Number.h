#pragma once

#include <charconv>
#include <optional>
#include <string_view>

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

}  // namespace rkplay
