#include "libraries/media/RkImageSequence.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>
#include <vector>

namespace fs = std::filesystem;

namespace {

// The name of a file with a place for a number.
struct SRkNumberedName {
  std::string before;
  std::string after;
  size_t digits = 1;  // at least

  std::string Of(UINT number) const {
    const std::string text = std::to_string(number);
    return before + std::string(digits > text.size() ? digits - text.size() : 0, '0') + text + after;
  }

  std::optional<UINT> NumberOf(std::string_view name) const {
    if (name.size() <= before.size() + after.size() || !name.starts_with(before) || !name.ends_with(after))
      return std::nullopt;
    const std::string_view text = name.substr(before.size(), name.size() - before.size() - after.size());
    UINT number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > INT32_MAX || Of(number) != name)
      return std::nullopt;
    return number;
  }
};

std::optional<SRkNumberedName> ParseName(const std::string& name) {
  for (size_t at = name.find('%'); at != std::string::npos; at = name.find('%', at + 1)) {
    const std::string_view place = std::string_view(name).substr(at);
    if (place.starts_with("%d")) return SRkNumberedName{name.substr(0, at), name.substr(at + 2), 1};
    if (place.size() > 3 && place[1] == '0' && place[2] >= '1' && place[2] <= '9' && place[3] == 'd') {
      return SRkNumberedName{name.substr(0, at), name.substr(at + 4), static_cast<size_t>(place[2] - '0')};
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<SRkImageSequence> RkFindImageSequence(const std::string& path) {
  const fs::path whole = path;
  const auto name = ParseName(whole.filename().string());
  std::error_code error;
  if (!name || fs::exists(whole, error)) return std::nullopt;
  const fs::path folder = whole.has_parent_path() ? whole.parent_path() : fs::path(".");
  std::vector<UINT> numbers;
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    if (const auto number = name->NumberOf(entry->path().filename().string())) numbers.push_back(*number);
  }
  if (numbers.empty()) return std::nullopt;
  std::sort(numbers.begin(), numbers.end());
  const auto gap = std::adjacent_find(numbers.begin(), numbers.end(),
                                      [](UINT number, UINT next) { return next != number + 1; });
  return SRkImageSequence{numbers.front(), static_cast<UINT>(numbers.size()),
                          gap == numbers.end() ? "" : name->Of(*gap + 1)};
}
