// What a source channel gives on Windows with elements that cost nothing: samples a second beside a bare loop
// of the 1 ms waits that pace its worker, at a timer resolution of 1 ms. Blocks of both take turns, so that
// they meet the same machine. Prints the medians.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "module/RkClipPlay.h"
#include "platform/CRkFineTiming.h"

namespace {

constexpr int kRounds = 25;
constexpr int kBlock = 300;

// `work` makes a block of waits or samples.
template <class Work>
double PerSecond(Work work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return kBlock / std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + kRounds / 2, values.end());
  return values[kRounds / 2];
}

// Play waits for the pre-roll, for no longer than a second. Nobody takes a sample meanwhile.
double SamplesPerSecond() {
  constexpr SRkVideoResolution kVideo = {16, 16, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0};
  CRkRef<IRkClipSourceChannel> channel;
  CRkRef<IRkClipElement> clip;
  if (!RkCreateClipSourceChannel(kBlock, 2 * kBlock, kVideo, {}, nullptr, channel.Out()) ||
      !RkCreatePatternClipElement(10 * kBlock, clip.Out()) || !channel->InsertElement(0, clip.Get())) {
    return 0;
  }
  return PerSecond([&] { channel->Play(0, 1); });
}

}  // namespace

int main() {
  const CRkHandle never = CRkHandle::ManualResetEvent();
  std::vector<double> waits, samples, ratios;
  for (int round = 0; round < kRounds; ++round) {
    {
      const CRkFineTiming fineTiming;
      waits.push_back(PerSecond([&] {
        for (int i = 0; i < kBlock; ++i) RkWait(never, 1);
      }));
    }
    samples.push_back(SamplesPerSecond());
    ratios.push_back(samples.back() / waits.back());
  }
  std::printf("%.0f waits a second, %.0f samples a second, %.1f %%\n", Median(waits), Median(samples),
              100 * Median(ratios));
}
