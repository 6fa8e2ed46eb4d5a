// The platform layer's waits. Every benchmark times its floor in turn with itself and reports both, so that
// what else the machine does meets the two alike: `ratio` is the median over all turns.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <linux/futex.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "base/CRkHandle.h"

namespace {

using Clock = std::chrono::steady_clock;

double NanosecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

// Each of the two returns its nanoseconds per operation. The time column shows the one under test.
template <class Floor, class Tested>
void Compare(benchmark::State& state, Floor floor, Tested tested) {
  std::vector<double> floors, times, ratios;
  for (auto _ : state) {
    floors.push_back(floor());
    times.push_back(tested());
    ratios.push_back(times.back() / floors.back());
    state.SetIterationTime(times.back() * 1e-9);
  }
  state.counters["floor_ns"] = Median(floors);
  state.counters["tested_ns"] = Median(times);
  state.counters["ratio"] = Median(ratios);
}

template <class Operation>
double PerOperation(Operation operation) {
  constexpr int kOperations = 20000;
  const auto start = Clock::now();
  for (int i = 0; i < kOperations; ++i) operation();
  return NanosecondsSince(start) / kOperations;
}

class CPosixSemaphore {
 public:
  CPosixSemaphore() { sem_init(&m_semaphore, 0, 0); }
  ~CPosixSemaphore() { sem_destroy(&m_semaphore); }
  double PostAndWait() {
    return PerOperation([this] {
      sem_post(&m_semaphore);
      sem_wait(&m_semaphore);
    });
  }

 private:
  sem_t m_semaphore;
};

void uncontended_auto_event_against_sem_t(benchmark::State& state) {
  CPosixSemaphore floor;
  CRkHandle event = CRkHandle::AutoResetEvent();
  const auto tested = [&] {
    return PerOperation([&] {
      SetEvent(event);
      WaitForSingleObject(event, INFINITE);
    });
  };
  Compare(
      state, [&] { return floor.PostAndWait(); }, tested);
}

void uncontended_semaphore_against_sem_t(benchmark::State& state) {
  CPosixSemaphore floor;
  CRkHandle semaphore = CRkHandle::Semaphore(0, 8);
  const auto tested = [&] {
    return PerOperation([&] {
      ReleaseSemaphore(semaphore, 1, nullptr);
      WaitForSingleObject(semaphore, INFINITE);
    });
  };
  Compare(
      state, [&] { return floor.PostAndWait(); }, tested);
}

// The second of the two, for which the wait has to look at both.
void uncontended_any_of_two_against_sem_t(benchmark::State& state) {
  CPosixSemaphore floor;
  CRkHandle first = CRkHandle::AutoResetEvent();
  CRkHandle second = CRkHandle::AutoResetEvent();
  const HANDLE both[] = {first, second};
  const auto tested = [&] {
    return PerOperation([&] {
      SetEvent(second);
      WaitForMultipleObjects(2, both, FALSE, INFINITE);
    });
  };
  Compare(
      state, [&] { return floor.PostAndWait(); }, tested);
}

// The three ways to hand the turn to another thread.
class CFutexTurn {
 public:
  void Give() {
    m_given.store(1);
    syscall(SYS_futex, &m_given, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, 1, nullptr, nullptr, 0);
  }
  void Await() {
    while (m_given.exchange(0) == 0) {
      syscall(SYS_futex, &m_given, FUTEX_WAIT | FUTEX_PRIVATE_FLAG, 0, nullptr, nullptr, 0);
    }
  }

 private:
  std::atomic<std::uint32_t> m_given{0};
};

class CEventTurn {
 public:
  void Give() { SetEvent(m_event); }
  void Await() { WaitForSingleObject(m_event, INFINITE); }

 private:
  CRkHandle m_event = CRkHandle::AutoResetEvent();
};

class CAnyOfTwoTurn {
 public:
  void Give() { SetEvent(m_event); }
  void Await() {
    const HANDLE both[] = {m_stop, m_event};
    WaitForMultipleObjects(2, both, FALSE, INFINITE);
  }

 private:
  CRkHandle m_stop = CRkHandle::ManualResetEvent();
  CRkHandle m_event = CRkHandle::AutoResetEvent();
};

// Across cores the cost of a wake is the machine's, and noisy: all threads share one core.
void PinToOneCore() {
  cpu_set_t allowed;
  sched_getaffinity(0, sizeof(allowed), &allowed);
  int core = 0;
  while (!CPU_ISSET(core, &allowed)) ++core;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(core, &one);
  sched_setaffinity(0, sizeof(one), &one);
}

double ProcessorNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1e9 + now.tv_nsec;
}

// Nanoseconds per turn with so many pairs of threads passing turns to and fro at once. In processor time:
// somebody has the turn always, so that is the time that passes, less what other programs take.
template <class Turn>
double PerTurn(int pairCount) {
  constexpr int kTurns = 40000;
  const int rounds = kTurns / 2 / pairCount;
  struct SPair {
    Turn there, back;
  };
  const auto pairs = std::make_unique<SPair[]>(pairCount);
  std::latch start(2 * pairCount + 1);
  std::vector<std::thread> threads;
  const auto play = [&start, rounds](Turn& mine, Turn& other) {
    PinToOneCore();
    start.arrive_and_wait();
    for (int i = 0; i < rounds; ++i) {
      mine.Await();
      other.Give();
    }
  };
  for (int i = 0; i < pairCount; ++i) {
    threads.emplace_back(play, std::ref(pairs[i].there), std::ref(pairs[i].back));
    threads.emplace_back(play, std::ref(pairs[i].back), std::ref(pairs[i].there));
  }
  start.arrive_and_wait();
  const double begin = ProcessorNanoseconds();
  for (int i = 0; i < pairCount; ++i) pairs[i].there.Give();
  for (auto& thread : threads) thread.join();
  return (ProcessorNanoseconds() - begin) / (2.0 * rounds * pairCount);
}

template <class Floor, int floorPairs, class Tested, int testedPairs>
void turns(benchmark::State& state) {
  Compare(
      state, [] { return PerTurn<Floor>(floorPairs); }, [] { return PerTurn<Tested>(testedPairs); });
}

// On a thread of its own, whose timer slack nothing has touched yet.
template <class Wait>
double PerTimedWait(Wait wait) {
  constexpr int kWaits = 50;
  double result = 0;
  std::thread([&] {
    wait();
    const auto start = Clock::now();
    for (int i = 0; i < kWaits; ++i) wait();
    result = NanosecondsSince(start) / kWaits;
  }).join();
  return result;
}

double PerTimedFutex(bool leastSlack) {
  return PerTimedWait([leastSlack] {
    if (leastSlack) prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    std::atomic<std::uint32_t> word{0};
    const timespec timeout{0, 1'000'000};
    syscall(SYS_futex, &word, FUTEX_WAIT | FUTEX_PRIVATE_FLAG, 0, &timeout, nullptr, 0);
  });
}

double PerTimedEvents(DWORD count) {
  const CRkHandle events[] = {CRkHandle::AutoResetEvent(), CRkHandle::AutoResetEvent()};
  const HANDLE handles[] = {events[0], events[1]};
  return PerTimedWait([&] { WaitForMultipleObjects(count, handles, FALSE, 1); });
}

void one_ms_futex_with_default_slack_against_least_slack(benchmark::State& state) {
  Compare(
      state, [] { return PerTimedFutex(true); }, [] { return PerTimedFutex(false); });
}

void one_ms_wait_against_futex_with_least_slack(benchmark::State& state) {
  Compare(
      state, [] { return PerTimedFutex(true); }, [] { return PerTimedEvents(1); });
}

void one_ms_wait_for_two_against_futex_with_least_slack(benchmark::State& state) {
  Compare(
      state, [] { return PerTimedFutex(true); }, [] { return PerTimedEvents(2); });
}

BENCHMARK(uncontended_auto_event_against_sem_t)->UseManualTime()->Iterations(101);
BENCHMARK(uncontended_semaphore_against_sem_t)->UseManualTime()->Iterations(101);
BENCHMARK(uncontended_any_of_two_against_sem_t)->UseManualTime()->Iterations(101);
BENCHMARK(turns<CFutexTurn, 1, CEventTurn, 1>)
    ->Name("one_core_turns_through_events_against_futex")
    ->UseManualTime()
    ->Iterations(21);
BENCHMARK(turns<CFutexTurn, 1, CAnyOfTwoTurn, 1>)
    ->Name("one_core_turns_through_any_of_two_against_futex")
    ->UseManualTime()
    ->Iterations(21);
BENCHMARK(turns<CEventTurn, 1, CEventTurn, 64>)
    ->Name("one_core_turns_of_64_event_pairs_against_one_pair")
    ->UseManualTime()
    ->Iterations(21);
BENCHMARK(turns<CFutexTurn, 1, CFutexTurn, 64>)
    ->Name("one_core_turns_of_64_futex_pairs_against_one_pair")
    ->UseManualTime()
    ->Iterations(21);
BENCHMARK(one_ms_futex_with_default_slack_against_least_slack)->UseManualTime()->Iterations(11);
BENCHMARK(one_ms_wait_against_futex_with_least_slack)->UseManualTime()->Iterations(11);
BENCHMARK(one_ms_wait_for_two_against_futex_with_least_slack)->UseManualTime()->Iterations(11);

}  // namespace

BENCHMARK_MAIN();
