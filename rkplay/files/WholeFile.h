#pragma once

#include <cstddef>
#include <string>

namespace rkplay {

// Writes a file all at once: under its name there is either what was there before, or all of the new
// contents. False, with the reason, when it cannot be written.
bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, std::string& reason);

}  // namespace rkplay
