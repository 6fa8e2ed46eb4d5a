#pragma once

#include <cstdlib>

// A number that the environment may override, for longer runs and to repeat a failed seed.
inline unsigned Setting(const char* name, unsigned otherwise) {
  const char* const value = std::getenv(name);
  return value != nullptr ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : otherwise;
}
