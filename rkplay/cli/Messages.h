#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace rkplay {

// What the user asked for cannot be done: one line that names the thing and the reason. Thrown only
// before anything goes on air, and caught by main.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The text with a ? for every control character and every byte that is no UTF-8, so that no file name can
// steer a terminal or break a line.
std::string Printable(std::string_view text);

// The first bytes of UTF-8 text, at most `bytes` and only whole characters.
std::string_view CutToBytes(std::string_view text, size_t bytes);

// One line on the error output.
void PrintError(const std::string& line);

}  // namespace rkplay
