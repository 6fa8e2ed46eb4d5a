#pragma once

#include <string>

#include "host/Options.h"

namespace rkplay {

// WIDTHxHEIGHT. Throws UsageError.
FormatOptions::Size ParsePictureSize(const std::string& text);

}  // namespace rkplay
