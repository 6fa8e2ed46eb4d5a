#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "base/RkExactTime.h"

namespace rkplay {

// The ERkFrameRate of a name such as 25, 29.97 or 30000/1001; nothing for any other text.
std::optional<int> ParseFrameRate(std::string_view name);

// "25", "29.97", ...
const char* FrameRateName(int frameRate);
// All names, for messages.
std::string FrameRateNames();

// From the start of frame 0 to the start of `frame`.
constexpr std::chrono::nanoseconds FrameTime(int frameRate, ULONGLONG frame) {
  return RkTimeOf(frame, kRkFrameRates[frameRate]);
}

// hours:minutes:seconds:frames; drop-frame, written with ';', at 29.97 and 59.94.
std::string Timecode(int frameRate, ULONGLONG frame);

// Whether the text has the shape HH:MM:SS:FF or HH:MM:SS;FF.
bool IsTimecode(std::string_view text);

// The frame that a timecode names: drop-frame counting where it is written with ';', else every number is
// counted. Nothing for a timecode that the rate does not have.
std::optional<ULONGLONG> FrameOfTimecode(int frameRate, std::string_view timecode);

}  // namespace rkplay
