#include "rkplay/cli/FrameRate.h"

#include <array>
#include <cstdio>

#include "rkplay/cli/Values.h"

namespace rkplay {
namespace {

constexpr std::array<const char*, kRkFrameRateCount> kNames = {"23.976", "24", "25",    "29.97",
                                                               "30",     "50", "59.94", "60"};

// Frame numbers that a timecode counts in one second.
UINT CountedPerSecond(int frameRate) {
  const auto [numerator, denominator] = kRkFrameRates[frameRate];
  return (numerator + denominator - 1) / denominator;
}

// Whether timecodes of the rate leave numbers out to stay with the clock.
bool DropsNumbers(int frameRate) {
  return kRkFrameRates[frameRate].denominator != 1 && CountedPerSecond(frameRate) % 30 == 0;
}

// The numbers left out at the beginning of every minute but each tenth: 2 at 29.97, 4 at 59.94.
UINT DroppedPerMinute(UINT perSecond) {
  return perSecond / 15;
}

// The timecode number of a frame where every minute but each tenth leaves out its first numbers.
ULONGLONG WithDroppedNumbers(ULONGLONG frame, UINT perSecond) {
  const ULONGLONG dropped = DroppedPerMinute(perSecond);
  const ULONGLONG perMinute = 60ull * perSecond - dropped;
  const ULONGLONG perTenMinutes = 600ull * perSecond - 9 * dropped;
  const ULONGLONG rest = frame % perTenMinutes;
  const ULONGLONG minutes = rest < dropped ? 0 : (rest - dropped) / perMinute;
  return frame + (frame / perTenMinutes * 9 + minutes) * dropped;
}

}  // namespace

std::optional<int> ParseFrameRate(std::string_view name) {
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    const auto [numerator, denominator] = kRkFrameRates[rate];
    const std::string fraction = std::to_string(numerator) + "/" + std::to_string(denominator);
    if (name == kNames[static_cast<size_t>(rate)] || name == fraction) return rate;
  }
  return std::nullopt;
}

const char* FrameRateName(int frameRate) {
  return kNames.at(static_cast<size_t>(frameRate));
}

std::string FrameRateNames() {
  std::string names;
  for (const char* name : kNames) names += (names.empty() ? "" : ", ") + std::string(name);
  return names + " or a fraction such as 30000/1001";
}

std::string Timecode(int frameRate, ULONGLONG frame) {
  const UINT perSecond = CountedPerSecond(frameRate);
  const bool drops = DropsNumbers(frameRate);
  const ULONGLONG number = drops ? WithDroppedNumbers(frame, perSecond) : frame;
  const ULONGLONG seconds = number / perSecond;
  char text[64];
  std::snprintf(text, sizeof(text), "%02llu:%02llu:%02llu%c%02llu", seconds / 3600, seconds / 60 % 60,
                seconds % 60, drops ? ';' : ':', number % perSecond);
  return text;
}

bool IsTimecode(std::string_view text) {
  constexpr std::string_view kShape = "00:00:00:00";
  if (text.size() != kShape.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    const bool endsSeconds = i == kShape.size() - 3;
    if (kShape[i] == '0' ? !isDigit : text[i] != ':' && !(endsSeconds && text[i] == ';')) return false;
  }
  return true;
}

std::optional<ULONGLONG> FrameOfTimecode(int frameRate, std::string_view timecode) {
  if (!IsTimecode(timecode)) return std::nullopt;
  const auto part = [timecode](size_t at) {
    return ParseNumber<ULONGLONG>(timecode.substr(at, 2), 0, 99).value_or(0);
  };
  const UINT perSecond = CountedPerSecond(frameRate);
  const ULONGLONG minutes = part(0) * 60 + part(3);
  const ULONGLONG frames = part(9);
  if (part(3) >= 60 || part(6) >= 60 || frames >= perSecond) return std::nullopt;
  const ULONGLONG number = (minutes * 60 + part(6)) * perSecond + frames;
  if (timecode[8] == ':') return number;
  const ULONGLONG dropped = DroppedPerMinute(perSecond);
  const bool isLeftOut = minutes % 10 != 0 && part(6) == 0 && frames < dropped;
  if (!DropsNumbers(frameRate) || isLeftOut) return std::nullopt;
  return number - dropped * (minutes - minutes / 10);
}

}  // namespace rkplay
