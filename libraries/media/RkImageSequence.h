#pragma once

#include <optional>
#include <string>

#include "contracts/RkTypes.h"

// Pictures in files of their own that are numbered without a gap.
struct SRkImageSequence {
  UINT first;
  UINT count;
  std::string missing;  // the name of the first file that lacks between two others; else empty
};

// The files that a path with %d or %0Nd in its last component stands for. Nothing for other paths, for
// those of a file that exists, and where there is no such file.
std::optional<SRkImageSequence> RkFindImageSequence(const std::string& path);
