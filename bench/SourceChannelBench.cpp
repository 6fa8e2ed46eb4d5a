// What a source channel gives with elements that cost nothing: samples a second beside a bare loop of the
// 1 ms waits that pace its worker, and the processor time that worker and consumer take for a sample.

#include <benchmark/benchmark.h>

#include <chrono>

#include "base/CRkHandle.h"
#include "bench/BenchSupport.h"

namespace {

constexpr int kBlock = 500;
constexpr int kCapacity = 24;

// Seconds by the clock and of the processor, summed over blocks.
struct SSpent {
  double clock = 0;
  double processor = 0;

  template <class Work>
  void Add(Work work) {
    const double processorBefore = ProcessSeconds();
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < kBlock; ++i) work();
    clock += std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
    processor += ProcessSeconds() - processorBefore;
  }
};

CRkRef<IRkClipSourceChannel> MakeChannel() {
  CRkRef<IRkClipSourceChannel> channel;
  const SRkVideoResolution video = {64, 36, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0};
  RkCreateClipSourceChannel(1, kCapacity, video, RkMakeWaveFormat(2, 48000, 16), nullptr, channel.Out());
  channel->InsertElement(0, CRkRef<CInstantElement>::Adopt(new CInstantElement).Get());
  return channel;
}

// Blocks of waits and blocks of samples in turn, so that both meet the same machine.
void Throughput(benchmark::State& state) {
  const CAffinity affinity(state.range(0) != 0);
  const CRkHandle never = CRkHandle::ManualResetEvent();
  SSpent waits, samples;
  while (state.KeepRunning()) {
    waits.Add([&] { RkWait(never, 1); });
    const auto channel = MakeChannel();
    channel->Play(0, kRkRepeatEndless);
    const auto take = [&] {
      CRkRef<IRkAVPlaySample> sample;
      if (!channel->GetSample(INFINITE, sample.Out())) state.SkipWithError("no sample");
    };
    for (int i = 0; i < kCapacity; ++i) take();  // what was read ahead does not count
    samples.Add(take);
  }
  const double count = static_cast<double>(state.iterations()) * kBlock;
  state.counters["waits/s"] = count / waits.clock;
  state.counters["samples/s"] = count / samples.clock;
  state.counters["samples/waits"] = waits.clock / samples.clock;
  state.counters["cpu_us/sample"] = 1e6 * samples.processor / count;
  state.counters["cpu_us/wait"] = 1e6 * waits.processor / count;
}

BENCHMARK(Throughput)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(6)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
