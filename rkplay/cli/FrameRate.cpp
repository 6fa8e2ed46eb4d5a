#include "rkplay/cli/FrameRate.h"

#include <array>
#include <cstdio>

namespace rkplay {
namespace {

constexpr std::array<const char*, kRkFrameRateCount> kNames = {"23.976", "24", "25",    "29.97",
                                                               "30",     "50", "59.94", "60"};

// Frame numbers that a timecode counts in one second.
UINT CountedPerSecond(const SRkFrameRateFraction& rate) {
  return (rate.numerator + rate.denominator - 1) / rate.denominator;
}

// The timecode number of a frame where every minute but each tenth leaves out its first numbers.
ULONGLONG WithDroppedNumbers(ULONGLONG frame, UINT perSecond) {
  const ULONGLONG dropped = perSecond / 15;  // 2 at 29.97, 4 at 59.94
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
  const UINT perSecond = CountedPerSecond(kRkFrameRates[frameRate]);
  const bool drops = kRkFrameRates[frameRate].denominator != 1 && perSecond % 30 == 0;
  const ULONGLONG number = drops ? WithDroppedNumbers(frame, perSecond) : frame;
  const ULONGLONG seconds = number / perSecond;
  char text[64];
  std::snprintf(text, sizeof(text), "%02llu:%02llu:%02llu%c%02llu", seconds / 3600, seconds / 60 % 60,
                seconds % 60, drops ? ';' : ':', number % perSecond);
  return text;
}

}  // namespace rkplay
