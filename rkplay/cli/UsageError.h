#pragma once

#include <stdexcept>

namespace rkplay {

// What the user asked for cannot be done: one line that names the thing and the reason. Thrown only
// before anything goes on air, and caught by main.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace rkplay
