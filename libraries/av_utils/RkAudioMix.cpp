#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/RkSampleFormat.h"
#include "contracts/RkAVUtils.h"
#include "libraries/av_utils/RkAudioNarrow.h"

// Samples of every size are summed as 24-bit numbers. Where every gain is full or none, which is what a
// device asks for, 32 bits hold the sums and nothing is multiplied; other gains take sums of 64 bits, in
// thousandths. Both are exact up to the one rounding at the end.

namespace {

constexpr int kFullGain = 1000;
constexpr int kMostChannels = 255;  // a sum of so many 24-bit numbers fits in 32 bits
constexpr size_t kTargetBytes = 2 * sizeof(std::int16_t);
constexpr size_t kBlock = 256;  // samples of one side that are summed before they are rounded

template <class T>
T Read(const BYTE* data) {
  T value;
  std::memcpy(&value, data, sizeof(value));
  return value;
}

struct SRkLoad8 {
  static constexpr size_t kBytes = 1;
  static std::int32_t At(const BYTE* data) { return (*data - 128) * 65536; }
};
struct SRkLoad16 {
  static constexpr size_t kBytes = 2;
  static std::int32_t At(const BYTE* data) { return Read<std::int16_t>(data) * 256; }
};
// One load for three bytes; it reads the byte before them too.
struct SRkLoad24 {
  static constexpr size_t kBytes = 3;
  static std::int32_t At(const BYTE* data) { return Read<std::int32_t>(data - 1) >> 8; }
};
// For the first bytes of a buffer, which have none before them.
struct SRkLoad24First {
  static constexpr size_t kBytes = 3;
  static std::int32_t At(const BYTE* data) {
    return static_cast<std::int8_t>(data[2]) * 65536 + Read<std::uint16_t>(data);
  }
};
struct SRkLoad32 {
  static constexpr size_t kBytes = 4;
  static std::int32_t At(const BYTE* data) { return Read<std::int32_t>(data) >> 8; }
};

// Gains of full level only.
struct SRkFullGains {
  using Sum = std::int32_t;
  static Sum Weighted(std::int32_t sample, int) { return sample; }
  static Sum Rounded(Sum sum) { return (sum + 128) >> 8; }
};
struct SRkAnyGains {
  using Sum = std::int64_t;
  static Sum Weighted(std::int32_t sample, int gain) { return static_cast<Sum>(sample) * gain; }
  static Sum Rounded(Sum sum) {
    constexpr Sum kUnit = Sum{256} * kFullGain;
    const Sum raised = sum + kUnit / 2;
    return raised / kUnit - (raised % kUnit < 0);
  }
};

struct SRkMix {
  const SRkAudioMixParam* gains;
  int channels;
  size_t frameBytes;  // of the source
};

template <class Load, class Gains>
void SumSide(const SRkMix& mix, const BYTE* source, int SRkAudioMixParam::*side, size_t count,
             typename Gains::Sum* sums) {
  std::fill_n(sums, count, 0);
  for (int channel = 0; channel < mix.channels; ++channel) {
    const int gain = mix.gains[channel].*side;
    if (gain == 0) continue;
    const BYTE* data = source + channel * Load::kBytes;
    for (size_t index = 0; index < count; ++index, data += mix.frameBytes)
      sums[index] += Gains::Weighted(Load::At(data), gain);
  }
}

template <class Gains>
std::int16_t Saturated(typename Gains::Sum sum) {
  using Sum = typename Gains::Sum;
  const Sum rounded = Gains::Rounded(sum);
  const Sum raised = rounded < INT16_MIN ? Sum{INT16_MIN} : rounded;
  return static_cast<std::int16_t>(raised > INT16_MAX ? Sum{INT16_MAX} : raised);
}

template <class Load, class Gains>
void MixFrames(const SRkMix& mix, const BYTE* source, BYTE* target, size_t count) {
  typename Gains::Sum left[kBlock];
  typename Gains::Sum right[kBlock];
  std::int16_t mixed[2 * kBlock];
  while (count > 0) {
    const size_t block = std::min(count, kBlock);
    SumSide<Load, Gains>(mix, source, &SRkAudioMixParam::leftGain, block, left);
    SumSide<Load, Gains>(mix, source, &SRkAudioMixParam::rightGain, block, right);
    for (size_t index = 0; index < block; ++index) {
      mixed[2 * index] = Saturated<Gains>(left[index]);
      mixed[2 * index + 1] = Saturated<Gains>(right[index]);
    }
    std::memcpy(target, mixed, block * kTargetBytes);
    source += block * mix.frameBytes;
    target += block * kTargetBytes;
    count -= block;
  }
}

template <class Load>
void MixWith(const SRkMix& mix, const BYTE* source, BYTE* target, size_t count) {
  const auto isPlain = [](int gain) { return gain == 0 || gain == kFullGain; };
  const bool plain = std::all_of(mix.gains, mix.gains + mix.channels, [&](const SRkAudioMixParam& gains) {
    return isPlain(gains.leftGain) && isPlain(gains.rightGain);
  });
  if (plain)
    MixFrames<Load, SRkFullGains>(mix, source, target, count);
  else
    MixFrames<Load, SRkAnyGains>(mix, source, target, count);
}

// Two channels, each at full level on its own side only.
bool IsStereo(const SRkMix& mix) {
  constexpr auto kPacked = 2 * SRkLoad24::kBytes;
  const auto is = [](const SRkAudioMixParam& gains, int left, int right) {
    return gains.leftGain == left && gains.rightGain == right;
  };
  return mix.channels == 2 && mix.frameBytes == kPacked && is(mix.gains[0], kFullGain, 0) &&
         is(mix.gains[1], 0, kFullGain);
}

void Mix24(const SRkMix& mix, const BYTE* source, BYTE* target, size_t count) {
  if (count == 0) return;
  if (IsStereo(mix) && RkNarrow24To16(source, target, 2 * count)) return;
  MixWith<SRkLoad24First>(mix, source, target, 1);
  MixWith<SRkLoad24>(mix, source + mix.frameBytes, target + kTargetBytes, count - 1);
}

}  // namespace

int RkAudioUtils::MixAudioSampleTo16bitStereo(SRkWaveFormatInfo& sourceFormat, SRkLockAudioSample& source,
                                              SRkWaveFormatInfo& targetFormat, SRkLockAudioSample& target,
                                              SRkAudioMixParam* gains, int channelCount) {
  if (source.data == nullptr || target.data == nullptr || gains == nullptr) return 0;
  if (targetFormat.channels != 2 || targetFormat.bitsPerSample != 16) return 0;
  if (sourceFormat.channels > kMostChannels || channelCount <= 0) return 0;
  const SRkMix mix = {gains, std::min(channelCount, sourceFormat.channels), RkFrameBytes(sourceFormat)};
  if (mix.frameBytes == 0) return 0;
  const DWORD count = std::min(source.sampleCount, target.sampleCount);
  switch (RkSampleBytes(sourceFormat)) {
    case 1:
      MixWith<SRkLoad8>(mix, source.data, target.data, count);
      return 1;
    case 2:
      MixWith<SRkLoad16>(mix, source.data, target.data, count);
      return 1;
    case 3:
      Mix24(mix, source.data, target.data, count);
      return 1;
    case 4:
      MixWith<SRkLoad32>(mix, source.data, target.data, count);
      return 1;
    default:
      return 0;
  }
}
