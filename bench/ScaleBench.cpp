// Many output channels at once, beside the floor: as many pairs of threads, of which one puts pointers into
// a bounded queue and the other takes them at absolute times.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "bench/BenchSupport.h"
#include "contracts/RkLogAPI.h"

namespace {

constexpr int kSeconds = 6;
constexpr long long kPeriodNs = 40'000'000;
constexpr int kSamples = static_cast<int>(kSeconds * 1'000'000'000ll / kPeriodNs);
constexpr UINT kPreRoll = 2;
constexpr UINT kCapacity = 8;
constexpr long long kLateNs = 5'000'000;
const SRkVideoResolution kVideo = {64, 36, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0};

// Keeps the core awake at the lowest priority; otherwise the bench would measure how it wakes.
class CAwake {
 public:
  CAwake() : m_thread([this] { _Spin(); }) {}
  ~CAwake() {
    m_stop = true;
    m_thread.join();
  }
  // Its own processor time, to be left out of the result.
  double Seconds() const { return 1e-9 * static_cast<double>(m_spentNs); }

 private:
  void _Spin() {
    const sched_param none = {};
    sched_setscheduler(0, SCHED_IDLE, &none);
    while (!m_stop) {
      for (int i = 0; i < 1000; ++i) asm volatile("pause");
      timespec spent{};
      clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
      m_spentNs = spent.tv_sec * 1'000'000'000ll + spent.tv_nsec;
    }
  }

  std::atomic<bool> m_stop = false;
  std::atomic<long long> m_spentNs = 0;
  std::thread m_thread;
};

// Takes `kSamples` samples at absolute times; returns the number of late ones.
template <class Take>
int TakePaced(long long start, Take take) {
  int late = 0;
  for (int i = 1; i <= kSamples; ++i) {
    const long long due = start + i * kPeriodNs;
    SleepUntil(due);
    take();
    if (MonotonicNow() - due > kLateNs) ++late;
  }
  return late;
}

CRkRef<IRkClipOutputChannel> PlayingChannel() {
  CRkRef<IRkClipOutputChannel> channel;
  if (!RkCreateClipOutputChannel(kPreRoll, kCapacity, kVideo, RkMakeWaveFormat(2, 48000, 16), nullptr,
                                 nullptr, channel.Out())) {
    return channel;
  }
  const auto element = CRkRef<CInstantElement>::Adopt(new CInstantElement);
  channel->InsertClipElement(element.Get(), kRkRepeatEndless, 0);
  channel->Play();
  return channel;
}

// One player of ours.
class CChannelPlayer {
 public:
  explicit CChannelPlayer(long long start)
      : m_channel(PlayingChannel()),
        m_thread([this, start] { m_late = TakePaced(start, [this] { _Take(); }); }) {}
  int Finish() {
    m_thread.join();
    return m_late;
  }

 private:
  void _Take() {
    CRkRef<IRkAVPlaySample> sample;
    UINT status = 0;
    m_channel->GetSample(INFINITE, sample.Out());
    m_channel->SwitchChannel(&status);
  }

  CRkRef<IRkClipOutputChannel> m_channel;
  int m_late = 0;
  std::thread m_thread;
};

// The floor.
class CBarePlayer {
 public:
  explicit CBarePlayer(long long start)
      : m_producer([this] { _Produce(); }),
        m_consumer([this, start] { m_late = TakePaced(start, [this] { _Take(); }); }) {}
  int Finish() {
    m_consumer.join();
    m_producer.join();
    return m_late;
  }

 private:
  void _Produce() {
    for (int i = 0; i < kSamples + 1; ++i) {
      std::unique_lock lock(m_mutex);
      m_changed.wait(lock, [this] { return m_queue.size() < kCapacity || m_taken == kSamples; });
      m_queue.push_back(this);
      m_changed.notify_all();
    }
  }
  void _Take() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_queue.empty(); });
    m_queue.pop_front();
    ++m_taken;
    m_changed.notify_all();
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<void*> m_queue;
  int m_taken = 0;
  int m_late = 0;
  std::thread m_producer;
  std::thread m_consumer;
};

struct SCost {
  double cpuUsPerSample;
  int late;
};

template <class Player>
SCost Run(int players, const CAwake* awake) {
  // All start when all are made.
  const long long start = MonotonicNow() + 200'000'000 + players * 2'000'000ll;
  std::vector<std::unique_ptr<Player>> all;
  for (int i = 0; i < players; ++i) {
    // Spread over the period, as players that were started by people are.
    all.push_back(std::make_unique<Player>(start + kPeriodNs * i / players));
  }
  SleepUntil(start);
  const auto spent = [awake] { return ProcessSeconds() - (awake != nullptr ? awake->Seconds() : 0); };
  const double before = spent();
  int late = 0;
  for (const auto& player : all) late += player->Finish();
  return {1e6 * (spent() - before) / (static_cast<double>(players) * kSamples), late};
}

// pinned: on one core that never sleeps; else on all there are.
void Players(benchmark::State& state) {
  const int players = static_cast<int>(state.range(0));
  const bool pinned = state.range(1) != 0;
  const CAffinity affinity(pinned);
  SCost bare{}, ours{};
  while (state.KeepRunning()) {
    std::unique_ptr<CAwake> awake;
    if (pinned) awake = std::make_unique<CAwake>();
    bare = Run<CBarePlayer>(players, awake.get());
    ours = Run<CChannelPlayer>(players, awake.get());
  }
  state.counters["cpu_us"] = ours.cpuUsPerSample;
  state.counters["bare_cpu_us"] = bare.cpuUsPerSample;
  state.counters["ratio"] = ours.cpuUsPerSample / bare.cpuUsPerSample;
  state.counters["late"] = ours.late;
  state.counters["bare_late"] = bare.late;
}

double ResidentKiB() {
  long pages = 0, resident = 0;
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr || std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
  if (file != nullptr) std::fclose(file);
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

// What a channel that plays nothing keeps in memory, its three threads included.
void IdleMemory(benchmark::State& state) {
  constexpr int kChannels = 100;
  double kiB = 0;
  PlayingChannel();  // what is made once
  while (state.KeepRunning()) {
    std::vector<CRkRef<IRkClipOutputChannel>> channels(kChannels);
    const double before = ResidentKiB();
    for (auto& channel : channels) {
      RkCreateClipOutputChannel(kPreRoll, kCapacity, kVideo, RkMakeWaveFormat(2, 48000, 16), nullptr, nullptr,
                                channel.Out());
    }
    kiB = (ResidentKiB() - before) / kChannels;
  }
  state.counters["KiB/channel"] = kiB;
}

// The time until a cued list may go on air, and the cost of the first sample after a change beside others.
void CueAndChangeOver(benchmark::State& state) {
  constexpr int kChanges = 400;
  constexpr UINT kFrames = 20;
  std::vector<double> cue, first, usual;
  const auto timed = [](auto work) {
    const long long before = MonotonicNow();
    work();
    return 1e-3 * static_cast<double>(MonotonicNow() - before);
  };
  while (state.KeepRunning()) {
    const auto channel = PlayingChannel();
    for (int change = 0; change < kChanges; ++change) {
      const auto element = CRkRef<CInstantElement>::Adopt(new CInstantElement(kFrames));
      cue.push_back(timed([&] { channel->InsertClipElement(element.Get(), kRkRepeatEndless, 0); }));
      channel->SwitchChannelAtOnce();
      for (UINT i = 0; i < kFrames / 2; ++i) {
        SleepUntil(MonotonicNow() + 1'500'000);  // slower than the worker reads: samples are ready
        CRkRef<IRkAVPlaySample> sample;
        (i == 0 ? first : usual).push_back(timed([&] { channel->GetSample(INFINITE, sample.Out()); }));
      }
    }
  }
  const auto percentile = [](std::vector<double>& values, double share) {
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(share * static_cast<double>(values.size() - 1))];
  };
  state.counters["cue_us_p50"] = percentile(cue, 0.5);
  state.counters["cue_us_p99"] = percentile(cue, 0.99);
  state.counters["first_us_p50"] = percentile(first, 0.5);
  state.counters["first_us_p99"] = percentile(first, 0.99);
  state.counters["usual_us_p50"] = percentile(usual, 0.5);
  state.counters["usual_us_p99"] = percentile(usual, 0.99);
}

// The parts of a delivered sample that can be had alone, one thread.
void DeliveryAlone(benchmark::State& state) {
  const CAffinity affinity(true);
  const auto channel = PlayingChannel();
  UINT status = 0;
  long long spent = 0;
  int taken = 0;
  while (state.KeepRunning()) {
    SleepUntil(MonotonicNow() + 20'000'000);  // the cache fills
    const long long before = MonotonicNow();
    for (UINT i = 0; i < kCapacity; ++i) {
      CRkRef<IRkAVPlaySample> sample;
      taken += channel->GetSample(0, sample.Out());
      channel->SwitchChannel(&status);
    }
    spent += MonotonicNow() - before;
  }
  state.counters["ns/sample"] = static_cast<double>(spent) / std::max(taken, 1);
}

void ReadAlone(benchmark::State& state) {
  const auto element = CRkRef<CInstantElement>::Adopt(new CInstantElement(1000));
  while (state.KeepRunning()) {
    CRkRef<IRkAVPlaySample> sample;
    if (!element->ReadNextSample(sample.Out())) element->SeekTo(0);
  }
}

void LogLine(benchmark::State& state) {
  if (state.range(0) != 0) RkLog_SetFile("/dev/null");
  while (state.KeepRunning()) {
    RkLog_Trace(RkLogLevel_Debug, L"[%hs,%d] %ls", "CRkClipOutputChannel::SwitchChannel", 100, L"A line.\n");
  }
  RkLog_SetFile(nullptr);
}

BENCHMARK(Players)
    ->ArgNames({"channels", "pinned"})
    ->ArgsProduct({{1, 10, 50, 100, 200, 400}, {1}})
    ->Args({50, 0})
    ->Args({200, 0})
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK(IdleMemory)->Iterations(1);
BENCHMARK(CueAndChangeOver)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK(DeliveryAlone)->Iterations(100)->UseRealTime();
BENCHMARK(ReadAlone);
BENCHMARK(LogLine)->ArgName("heard")->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
