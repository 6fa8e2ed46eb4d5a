#pragma once

#include <string>

#include "rkplay/cli/Options.h"

namespace rkplay {

// WIDTHxHEIGHT. Throws UsageError.
FormatOptions::Size ParsePictureSize(const std::string& text);

}  // namespace rkplay
