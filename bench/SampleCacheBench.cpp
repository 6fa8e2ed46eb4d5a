// The sample cache beside a plain bounded queue, in the same run: put and get from one thread in turn,
// and from two threads that block on each other.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "base/CRkHandle.h"
#include "base/CRkRef.h"
#include "source_channel/CRkClipSampleCache.h"

namespace {

constexpr UINT kCapacity = 24;

// The floor: what a mutex and two condition variables cost.
class CPlainQueue {
 public:
  void Put(IRkAVPlaySample* sample, LONG tag) {
    sample->AddRef();
    std::unique_lock lock(m_mutex);
    m_notFull.wait(lock, [&] { return m_samples.size() < kCapacity; });
    m_samples.emplace_back(sample, tag);
    lock.unlock();
    m_notEmpty.notify_one();
  }
  void Get() {
    std::unique_lock lock(m_mutex);
    m_notEmpty.wait(lock, [&] { return !m_samples.empty(); });
    IRkAVPlaySample* const sample = m_samples.front().first;
    m_samples.pop_front();
    lock.unlock();
    m_notFull.notify_one();
    sample->Release();
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_notEmpty, m_notFull;
  std::deque<std::pair<IRkAVPlaySample*, LONG>> m_samples;
};

// As the source channel uses it: a put can be aborted, a get times out.
class CCacheQueue {
 public:
  void Put(IRkAVPlaySample* sample, LONG tag) { m_cache->PutSample(sample, tag, m_abort); }
  void Get() {
    CRkRef<IRkAVPlaySample> sample;
    LONG tag = 0;
    m_cache->GetSample(INFINITE, sample.Out(), &tag);
  }

 private:
  const CRkRef<CRkClipSampleCache> m_cache =
      CRkRef<CRkClipSampleCache>::Adopt(new CRkClipSampleCache(kCapacity));
  const CRkHandle m_abort = CRkHandle::ManualResetEvent();
};

CRkRef<IRkAVPlaySample> MakeSample() {
  CRkRef<IRkAVPlaySample> sample;
  RkCreateAVPlaySample(sample.Out());
  return sample;
}

template <class Queue>
void InTurn(benchmark::State& state) {
  Queue queue;
  const auto sample = MakeSample();
  for (auto _ : state) {
    queue.Put(sample.Get(), 1);
    queue.Get();
  }
  state.SetItemsProcessed(state.iterations());
}

template <class Queue>
void TwoThreads(benchmark::State& state) {
  constexpr int kBatch = 100000;
  Queue queue;
  for (auto _ : state) {
    std::thread producer([&] {
      const auto sample = MakeSample();
      for (int i = 0; i < kBatch; ++i) queue.Put(sample.Get(), i);
    });
    for (int i = 0; i < kBatch; ++i) queue.Get();
    producer.join();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

BENCHMARK(InTurn<CPlainQueue>);
BENCHMARK(InTurn<CCacheQueue>);
BENCHMARK(TwoThreads<CPlainQueue>)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(TwoThreads<CCacheQueue>)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
