// The mix-down to 16-bit stereo beside libswresample's matrix mix of the same sound with the same gains.
// Both take the same second of sound in turn, so that what else the machine does meets the two alike:
// `ratio` is the median over all turns, below 1 where ours is faster. libswresample has no packed 24 bits
// and is given 32; the widening that a program would have to do for it is timed apart.

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <stdexcept>
#include <vector>

#include <benchmark/benchmark.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include "contracts/RkAVUtils.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kRate = 48000;
constexpr DWORD kFrames = 1920;  // a call's worth: 40 ms
constexpr int kCalls = 25;

double Microseconds(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

// Even channels to the left, odd ones to the right, all at full level.
std::vector<SRkAudioMixParam> Gains(int channels) {
  std::vector<SRkAudioMixParam> gains;
  for (int channel = 0; channel < channels; ++channel)
    gains.push_back(channel % 2 == 0 ? SRkAudioMixParam{1000, 0} : SRkAudioMixParam{0, 1000});
  return gains;
}

class COwnMix {
 public:
  COwnMix(const SRkWaveFormatInfo& format, std::vector<BYTE>& source)
      : m_sourceFormat(format), m_gains(Gains(format.channels)) {
    m_source = {source.data(), kFrames, kFrames};
  }
  void Mix(std::vector<std::int16_t>& target) {
    SRkLockAudioSample lock = {reinterpret_cast<BYTE*>(target.data()), kFrames, kFrames};
    RkAudioUtils::MixAudioSampleTo16bitStereo(m_sourceFormat, m_source, m_targetFormat, lock, m_gains.data(),
                                              m_sourceFormat.channels);
  }

 private:
  SRkWaveFormatInfo m_sourceFormat;
  SRkWaveFormatInfo m_targetFormat = RkMakeWaveFormat(2, kRate, 16);
  SRkLockAudioSample m_source;
  std::vector<SRkAudioMixParam> m_gains;
};

class CSwrMix {
 public:
  CSwrMix(int channels, AVSampleFormat format, const std::vector<BYTE>& source) : m_source(source.data()) {
    AVChannelLayout from, to;
    av_channel_layout_default(&from, channels);
    av_channel_layout_default(&to, 2);
    if (swr_alloc_set_opts2(&m_context, &to, AV_SAMPLE_FMT_S16, kRate, &from, format, kRate, 0, nullptr) < 0)
      throw std::runtime_error("no libswresample context");
    std::vector<double> matrix;
    for (const auto side : {&SRkAudioMixParam::leftGain, &SRkAudioMixParam::rightGain}) {
      for (const SRkAudioMixParam& gains : Gains(channels)) matrix.push_back(gains.*side / 1000.0);
    }
    if (swr_set_matrix(m_context, matrix.data(), channels) < 0 || swr_init(m_context) < 0)
      throw std::runtime_error("libswresample takes no such mix");
  }
  ~CSwrMix() { swr_free(&m_context); }
  CSwrMix(const CSwrMix&) = delete;
  CSwrMix& operator=(const CSwrMix&) = delete;

  void Mix(std::vector<std::int16_t>& target) {
    auto* out = reinterpret_cast<std::uint8_t*>(target.data());
    swr_convert(m_context, &out, kFrames, &m_source, kFrames);
  }

 private:
  SwrContext* m_context = nullptr;
  const std::uint8_t* m_source;
};

// So quiet that no sum leaves the range: libswresample wraps sums of 16 bits around. A byte to spare at
// the end is for Widen.
std::vector<BYTE> QuietNoise(const SRkWaveFormatInfo& format) {
  const int bytes = format.bitsPerSample / 8;
  const int peak = (1 << (format.bitsPerSample - 1)) / format.channels - 1;
  std::mt19937 random(3);
  std::uniform_int_distribution<int> sample(-peak, peak);
  std::vector<BYTE> noise(static_cast<size_t>(kFrames) * format.blockAlign + 1);
  for (size_t at = 0; at + 1 < noise.size(); at += bytes) {
    const int value = sample(random);
    std::memcpy(noise.data() + at, &value, bytes);
  }
  return noise;
}

void Widen(const std::vector<BYTE>& source, std::vector<BYTE>& target) {
  const size_t samples = target.size() / 4;
  for (size_t i = 0; i < samples; ++i) {
    std::uint32_t value;
    std::memcpy(&value, source.data() + 3 * i, sizeof(value));
    value <<= 8;
    std::memcpy(target.data() + 4 * i, &value, sizeof(value));
  }
}

template <class Operation>
double Second(Operation operation) {
  const auto start = Clock::now();
  for (int call = 0; call < kCalls; ++call) {
    operation();
    benchmark::ClobberMemory();
  }
  return Microseconds(start);
}

void RequireSameSound(const std::vector<std::int16_t>& own, const std::vector<std::int16_t>& other) {
  for (size_t i = 0; i < own.size(); ++i) {
    if (std::abs(own[i] - other[i]) > 1) throw std::runtime_error("the two mixes differ");
  }
}

void mix_to_stereo(benchmark::State& state) {
  const int channels = static_cast<int>(state.range(0));
  const WORD bits = static_cast<WORD>(state.range(1));
  const SRkWaveFormatInfo format = RkMakeWaveFormat(channels, kRate, bits);
  std::vector<BYTE> source = QuietNoise(format);
  std::vector<BYTE> wide(bits == 24 ? static_cast<size_t>(kFrames) * channels * 4 : 0);
  Widen(source, wide);

  COwnMix own(format, source);
  CSwrMix swr(channels, bits == 24 ? AV_SAMPLE_FMT_S32 : AV_SAMPLE_FMT_S16, bits == 24 ? wide : source);
  std::vector<std::int16_t> ownTarget(2 * kFrames), swrTarget(2 * kFrames);
  own.Mix(ownTarget);
  swr.Mix(swrTarget);
  RequireSameSound(ownTarget, swrTarget);

  std::vector<double> ownTimes, swrTimes, widenTimes, ratios, widenedRatios;
  for (auto _ : state) {
    swrTimes.push_back(Second([&] { swr.Mix(swrTarget); }));
    widenTimes.push_back(wide.empty() ? 0.0 : Second([&] { Widen(source, wide); }));
    ownTimes.push_back(Second([&] { own.Mix(ownTarget); }));
    ratios.push_back(ownTimes.back() / swrTimes.back());
    widenedRatios.push_back(ownTimes.back() / (swrTimes.back() + widenTimes.back()));
    state.SetIterationTime(ownTimes.back() * 1e-6);
  }
  state.counters["own_us"] = Median(ownTimes);
  state.counters["swr_us"] = Median(swrTimes);
  state.counters["widen_us"] = Median(widenTimes);
  state.counters["ratio"] = Median(ratios);
  state.counters["ratio_widened"] = Median(widenedRatios);
}

// Time: a second of sound.
BENCHMARK(mix_to_stereo)
    ->ArgNames({"channels", "bits"})
    ->Args({8, 16})
    ->Args({6, 24})
    ->Args({2, 24})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
