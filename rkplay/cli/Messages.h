#pragma once

#include <stdexcept>
#include <string>

namespace rkplay {

// What the user asked for cannot be done: one line that names the thing and the reason. Thrown only
// before anything goes on air, and caught by main.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The text with a ? for every control character, so that no file name can steer a terminal or break a line.
std::string Printable(const std::string& text);

// One line on the error output.
void PrintError(const std::string& line);

}  // namespace rkplay
