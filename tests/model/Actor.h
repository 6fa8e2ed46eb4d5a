#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

// One thread of a host: runs the work that other threads give it, in order. Its destructor waits until all
// of it is done.
class CActor {
 public:
  CActor() : m_thread([this] { _Run(); }) {}
  ~CActor() {
    _Give(nullptr);
    m_thread.join();
  }

  template <class Work>
  auto Begin(Work work) {
    using Result = decltype(work());
    const auto task = std::make_shared<std::packaged_task<Result()>>(std::move(work));
    auto done = task->get_future();
    _Give([task] { (*task)(); });
    return done;
  }
  template <class Work>
  auto Do(Work work) {
    return Begin(std::move(work)).get();
  }

 private:
  void _Give(std::function<void()> work) {
    std::lock_guard lock(m_mutex);
    m_given.push_back(std::move(work));
    m_changed.notify_one();
  }
  std::function<void()> _Next() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_given.empty(); });
    auto work = std::move(m_given.front());
    m_given.pop_front();
    return work;
  }
  void _Run() {
    while (const auto work = _Next()) work();
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<std::function<void()>> m_given;  // guarded by m_mutex; an empty one is the end
  std::thread m_thread;
};
