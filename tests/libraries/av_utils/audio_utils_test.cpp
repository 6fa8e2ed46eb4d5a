#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "contracts/RkAVUtils.h"
#include "tests/support/RkLevel.h"

namespace {

__extension__ typedef unsigned __int128 Wide;

constexpr int kAllBits[] = {8, 16, 24, 32};

std::vector<BYTE> Noise(size_t bytes) {
  static std::mt19937 random(1);
  std::vector<BYTE> noise(bytes);
  for (BYTE& byte : noise) byte = static_cast<BYTE>(random());
  return noise;
}

double Level(const BYTE* data, int bits) {
  return 32768 * LevelOf(data, bits);
}

struct SMixed {
  int result;
  std::vector<short> samples;
};

SMixed Mix(int bits, int channels, const std::vector<BYTE>& sound, std::vector<SRkAudioMixParam> gains,
           DWORD room, int channelCount) {
  SRkWaveFormatInfo sourceFormat = RkMakeWaveFormat(channels, 48000, static_cast<WORD>(bits));
  SRkWaveFormatInfo targetFormat = RkMakeWaveFormat(2, 48000, 16);
  std::vector<BYTE> held = sound;
  const DWORD count = static_cast<DWORD>(sound.size() / sourceFormat.blockAlign);
  SMixed mixed = {0, std::vector<short>(size_t{2} * room + 1, 7)};
  SRkLockAudioSample source = {held.data(), count, count};
  SRkLockAudioSample target = {reinterpret_cast<BYTE*>(mixed.samples.data()), room, room};
  mixed.result = RkAudioUtils::MixAudioSampleTo16bitStereo(sourceFormat, source, targetFormat, target,
                                                           gains.data(), channelCount);
  return mixed;
}

TEST(audio_sample_counts, begin_every_frame_at_its_exact_sample) {
  std::mt19937 random(2);
  for (int rate = 0; rate < kRkFrameRateCount; ++rate) {
    const ERkFrameRate frameRate = static_cast<ERkFrameRate>(rate);
    const auto begin = [&](ULONGLONG frame, DWORD samplesPerSecond) {
      return static_cast<ULONGLONG>(Wide{frame} * samplesPerSecond * kRkFrameRates[rate].denominator /
                                    kRkFrameRates[rate].numerator);
    };
    for (const DWORD samplesPerSecond : {8000u, 44100u, 48000u, 96000u, 0xFFFFFFFFu}) {
      for (int round = 0; round < 200; ++round) {
        const DWORD first = random() >> (round % 32);
        const DWORD count = random() >> (random() % 32);
        EXPECT_EQ(RkAudioUtils::GetAudioSampleCounts(samplesPerSecond, frameRate, first, count),
                  begin(ULONGLONG{first} + count, samplesPerSecond) - begin(first, samplesPerSecond));
      }
    }
  }
  for (const int outside : {-1, kRkFrameRateCount})
    EXPECT_EQ(RkAudioUtils::GetAudioSampleCounts(48000, static_cast<ERkFrameRate>(outside), 0, 1), 0u);
}

TEST(audio_buffer, is_silent_in_the_middle_of_its_range) {
  for (const int bits : kAllBits) {
    const SRkWaveFormatInfo format = RkMakeWaveFormat(3, 48000, static_cast<WORD>(bits));
    std::vector<BYTE> sound = Noise(size_t{10} * format.blockAlign + 1);
    sound.back() = 0x55;
    RkAudioUtils::SilientAudioBuffer(format, sound.data(), 10);
    for (int sample = 0; sample < 30; ++sample) EXPECT_EQ(Level(&sound[sample * bits / 8], bits), 0);
    EXPECT_EQ(sound.back(), 0x55);
  }
}

TEST(audio_channels, land_at_their_place_in_a_wider_frame_and_leave_the_others) {
  for (const int bits : kAllBits) {
    for (const auto& [channels, wide, place] :
         {std::tuple{1, 2, 1}, {2, 8, 4}, {2, 2, 0}, {5, 7, 2}, {6, 6, 0}}) {
      const size_t bytes = bits / 8;
      const SRkWaveFormatInfo from = RkMakeWaveFormat(channels, 48000, static_cast<WORD>(bits));
      const SRkWaveFormatInfo to = RkMakeWaveFormat(wide, 48000, static_cast<WORD>(bits));
      std::vector<BYTE> source = Noise(size_t{50} * from.blockAlign);
      std::vector<BYTE> target = Noise(size_t{50} * to.blockAlign);
      std::vector<BYTE> expected = target;
      for (size_t index = 0; index < 50; ++index)
        std::copy_n(&source[index * from.blockAlign], from.blockAlign,
                    &expected[index * to.blockAlign + place * bytes]);
      EXPECT_EQ(RkAudioUtils::CopyAudioChannelSamples(from, source.data(), to, &target[place * bytes], 50),
                1);
      EXPECT_EQ(target, expected);
    }
  }
  BYTE memory[64] = {};
  const auto copy = [&](int fromChannels, WORD fromBits, int toChannels, WORD toBits) {
    return RkAudioUtils::CopyAudioChannelSamples(RkMakeWaveFormat(fromChannels, 48000, fromBits), memory,
                                                 RkMakeWaveFormat(toChannels, 48000, toBits), memory + 32, 1);
  };
  EXPECT_EQ(copy(2, 16, 4, 24), 0);
  EXPECT_EQ(copy(4, 16, 2, 16), 0);
}

TEST(audio_mix, is_the_rounded_and_saturated_sum_of_its_channels) {
  const std::vector<std::vector<SRkAudioMixParam>> manyGains = {{{1000, 0}, {0, 1000}},
                                                                {{1000, 1000}, {0, 0}},
                                                                {{707, -250}, {3, 1000}},
                                                                {{3000000, 0}, {-3000000, 1}}};
  for (const int bits : kAllBits) {
    for (const int channels : {1, 2, 6, 8, 12}) {
      for (const auto& pattern : manyGains) {
        std::vector<SRkAudioMixParam> gains(channels);
        for (int channel = 0; channel < channels; ++channel) gains[channel] = pattern[channel % 2];
        const std::vector<BYTE> sound = Noise(size_t{600} * channels * bits / 8);
        const SMixed mixed = Mix(bits, channels, sound, gains, 600, channels);
        ASSERT_EQ(mixed.result, 1);
        for (size_t index = 0; index < 600; ++index) {
          double sums[2] = {};
          for (int channel = 0; channel < channels; ++channel) {
            // The lowest byte of 32 bits is below what the mix looks at.
            const double level = Level(&sound[(index * channels + channel) * bits / 8], bits);
            sums[0] += std::floor(level * 256) * gains[channel].leftGain;
            sums[1] += std::floor(level * 256) * gains[channel].rightGain;
          }
          for (size_t side = 0; side < 2; ++side) {
            const double rounded = std::floor((sums[side] + 128000) / 256000);
            ASSERT_EQ(mixed.samples[2 * index + side], std::clamp(rounded, -32768.0, 32767.0))
                << bits << " bits, " << channels << " channels, sample " << index;
          }
        }
      }
    }
  }
}

TEST(audio_mix, narrows_24_bits_alike_at_every_length) {
  constexpr int kLevels[] = {0x7FFFFF, -0x800000, 0x7FFF7F, 0x7FFF80, 0x7F, 0x80, -0x80, -0x81};
  constexpr short kNarrow[] = {32767, -32768, 32767, 32767, 0, 1, 0, -1};
  for (DWORD count = 0; count < 70; ++count) {
    std::vector<BYTE> sound(size_t{6} * count);
    for (size_t sample = 0; sample < 2 * count; ++sample)
      std::memcpy(&sound[3 * sample], &kLevels[(sample + count) % 8], 3);
    const SMixed mixed = Mix(24, 2, sound, {{1000, 0}, {0, 1000}}, count, 2);
    for (size_t sample = 0; sample < 2 * count; ++sample)
      ASSERT_EQ(mixed.samples[sample], kNarrow[(sample + count) % 8]);
    EXPECT_EQ(mixed.samples[2 * count], 7);
  }
}

TEST(audio_mix, gives_what_both_sides_have_and_refuses_what_it_cannot_mix) {
  const std::vector<SRkAudioMixParam> gains(2, {1000, 1000});
  const std::vector<BYTE> sound(40, 1);
  EXPECT_EQ(Mix(16, 2, sound, gains, 12, 2).samples[19], 514);
  EXPECT_EQ(Mix(16, 2, sound, gains, 12, 2).samples[20], 7);
  EXPECT_EQ(Mix(16, 2, sound, gains, 4, 2).samples[7], 514);
  EXPECT_EQ(Mix(16, 2, sound, gains, 4, 2).samples[8], 7);
  EXPECT_EQ(Mix(16, 2, sound, gains, 4, 1).samples[7], 257);
  EXPECT_EQ(Mix(16, 2, sound, gains, 4, 0).result, 0);
  EXPECT_EQ(Mix(20, 2, sound, gains, 4, 2).result, 0);
}

}  // namespace
