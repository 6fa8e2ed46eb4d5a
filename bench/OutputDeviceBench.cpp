// How exactly the output device presents, beside a bare loop of absolute sleeps on a thread like its own;
// what it costs for a frame; and how many devices two cores carry.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "bench/BenchSupport.h"

namespace {

constexpr int kSeconds = 8;
constexpr int kQueueDepth = 6;

// When frames appeared and which never did.
class CRecorder final : public CRkUnknown<IRkSoftwareOutputCallback> {
 public:
  explicit CRecorder(size_t frames) { m_times.reserve(frames); }

  void OnPlay() override {}
  void OnAudioSample(IRkAudioSample*, IRkUnknown* mark) override { m_silence += mark == nullptr; }
  void OnVideoSample(IRkVideoSample* video) override {
    const UINT frame = video->GetFrameIndex();
    if (frame < m_expected) return;  // it stands there already
    if (m_times.size() < m_times.capacity()) m_times.push_back(MonotonicNow() - PeriodsBefore(frame));
    m_passedOver += frame - m_expected;
    m_expected = frame + 1;
  }
  void OnStop() override {}

  double periodNs = 0;
  std::vector<long long> m_times;  // less what the frame's number accounts for
  std::atomic<UINT> m_expected = 0;
  std::atomic<UINT> m_passedOver = 0;
  std::atomic<UINT> m_silence = 0;

 private:
  long long PeriodsBefore(UINT frame) const { return static_cast<long long>(frame * periodNs); }
};

// Percentiles of how much later than the earliest they were, in milliseconds.
struct SLateness {
  double median;
  double p99;
  double worst;
};

SLateness LatenessOf(std::vector<long long> times) {
  std::sort(times.begin(), times.end());
  const auto at = [&times](double share) {
    return 1e-6 * static_cast<double>(times[static_cast<size_t>(share * (times.size() - 1))] - times.front());
  };
  return {at(0.5), at(0.99), at(1.0)};
}

// With the priority that the device's own threads ask for.
std::vector<long long> SleepBarely(double periodNs, size_t frames) {
  std::vector<long long> times;
  std::thread([&] {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL);
    const long long start = MonotonicNow();
    for (size_t i = 1; i <= frames; ++i) {
      const auto passed = static_cast<long long>(static_cast<double>(i) * periodNs);
      SleepUntil(start + passed);
      times.push_back(MonotonicNow() - passed);
    }
  }).join();
  return times;
}

class CMark final : public CRkUnknown<IRkUnknown> {};

// One frame with a picture, and sound in stereo blocks; put again and again.
CRkRef<IRkAVPlaySample> MakeFrame(int channels, WORD bits, DWORD samplesPerFrame) {
  CRkRef<IRkAVPlaySample> frame;
  CRkRef<IRkVideoSample> picture;
  RkCreateAVPlaySample(frame.Out());
  RkCreateVideoSample(picture.Out());
  frame->SetVideoSample(picture.Get());
  frame->SetAttachment(CRkRef<IRkUnknown>::Adopt(new CMark).Get());
  for (int block = 0; block < channels / 2; ++block) {
    CRkRef<IRkAudioSample> sound;
    RkCreateUserAudioSample(RkMakeWaveFormat(2, 48000, bits), nullptr, samplesPerFrame, sound.Out());
    sound->SetSampleCount(samplesPerFrame);
    frame->SetAudioSample(static_cast<UINT>(block), sound.Get());
  }
  return frame;
}

// A device that plays `frames` frames, fed on a thread of its own.
class CPlayingDevice {
 public:
  CPlayingDevice(int rate, int channels, WORD bits)
      : m_recorder(CRkRef<CRecorder>::Adopt(new CRecorder(Frames(rate)))), m_frames(Frames(rate)) {
    m_recorder->periodNs = 1e6 * RkFrameDurationMs(rate);
    const SRkVideoResolution video = {64, 36, RkPixelFormat_I420, 0, rate, 1, 1, 0, 0};
    const SRkWaveFormatInfo sound = RkMakeWaveFormat(channels, 48000, bits);
    if (!RkCreateSoftwareOutputDevice(video, sound, nullptr, kQueueDepth, m_device.Out())) return;
    m_device->SetOutputCallback(m_recorder.Get());
    m_frame = MakeFrame(channels, bits, static_cast<DWORD>(48 * RkFrameDurationMs(rate)));
    m_device->Play();
    m_feeder = std::thread([this] {
      for (size_t i = 0; i < m_frames; ++i) m_device->PutSample(m_frame.Get());
    });
  }
  ~CPlayingDevice() {
    if (m_feeder.joinable()) m_feeder.join();
  }
  CPlayingDevice(const CPlayingDevice&) = delete;
  CPlayingDevice& operator=(const CPlayingDevice&) = delete;

  static size_t Frames(int rate) { return static_cast<size_t>(kSeconds * RkFramesPerSecond(rate)); }
  // Once the last frame has appeared.
  const CRecorder& Finish() {
    m_feeder.join();
    while (m_recorder->m_expected < m_frames) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    m_device.Reset();
    return *m_recorder.Get();
  }

 private:
  CRkRef<CRecorder> m_recorder;
  const size_t m_frames;
  CRkRef<IRkAVPlaySample> m_frame;
  CRkRef<IRkSoftwareOutputDevice> m_device;
  std::thread m_feeder;
};

// Both run at the same time, so that a disturbance hits both alike.
void Presentation(benchmark::State& state) {
  const int rate = static_cast<int>(state.range(0));
  const double periodNs = 1e6 * RkFrameDurationMs(rate);
  std::vector<long long> device, bare;
  while (state.KeepRunning()) {
    std::thread sleeper([&] { bare = SleepBarely(periodNs, CPlayingDevice::Frames(rate)); });
    device = CPlayingDevice(rate, 0, 16).Finish().m_times;
    sleeper.join();
  }
  const SLateness ours = LatenessOf(device);
  const SLateness floor = LatenessOf(bare);
  state.counters["ms_p50"] = ours.median;
  state.counters["ms_p99"] = ours.p99;
  state.counters["ms_worst"] = ours.worst;
  state.counters["bare_p50"] = floor.median;
  state.counters["bare_p99"] = floor.p99;
  state.counters["bare_worst"] = floor.worst;
}

void CpuPerFrame(benchmark::State& state) {
  RkSelectAudioSystem(RkAudioSystem_Virtual, nullptr);
  UINT passedOver = 0, silence = 0;
  size_t frames = 0;
  double spent = 0;
  while (state.KeepRunning()) {
    CPlayingDevice device(RkFrameRate_25, static_cast<int>(state.range(0)),
                          static_cast<WORD>(state.range(1)));
    const double before = ProcessSeconds();
    const CRecorder& recorder = device.Finish();
    spent += ProcessSeconds() - before;
    frames += CPlayingDevice::Frames(RkFrameRate_25);
    passedOver += recorder.m_passedOver;
    silence += recorder.m_silence;
  }
  state.counters["cpu_us/frame"] = 1e6 * spent / static_cast<double>(frames);
  state.counters["passed_over"] = passedOver;
  state.counters["silence"] = silence;
}

void ManyDevices(benchmark::State& state) {
  RkSelectAudioSystem(state.range(1) != 0 ? RkAudioSystem_Virtual : RkAudioSystem_None, nullptr);
  UINT passedOver = 0;
  double worst = 0;
  double spent = 0;
  while (state.KeepRunning()) {
    const double before = ProcessSeconds();
    std::vector<std::unique_ptr<CPlayingDevice>> devices;
    for (int i = 0; i < state.range(0); ++i) {
      devices.push_back(std::make_unique<CPlayingDevice>(RkFrameRate_25, 2, 16));
    }
    for (const auto& device : devices) {
      const CRecorder& recorder = device->Finish();
      passedOver += recorder.m_passedOver;
      worst = std::max(worst, LatenessOf(recorder.m_times).worst);
    }
    spent = ProcessSeconds() - before;
  }
  state.counters["passed_over"] = passedOver;
  state.counters["ms_worst"] = worst;
  state.counters["cores"] = spent / kSeconds;
}

BENCHMARK(Presentation)
    ->ArgName("rate")
    ->Arg(RkFrameRate_25)
    ->Arg(RkFrameRate_59_94)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK(CpuPerFrame)
    ->ArgNames({"channels", "bits"})
    ->Args({2, 16})
    ->Args({6, 24})
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK(ManyDevices)
    ->ArgNames({"devices", "sound"})
    ->Args({20, 0})
    ->Args({20, 1})
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
