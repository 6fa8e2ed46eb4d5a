#include "rkplay/clips/MediaFiles.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

namespace rkplay {
namespace {

constexpr std::chrono::milliseconds kQuietTime(1000);
constexpr std::chrono::milliseconds kProgressInterval(200);
// So few files get a line on a terminal only, where it vanishes again.
constexpr size_t kFewFiles = 20;

// One line on the error output: kept up to date on a terminal, written once elsewhere.
class ProgressLine {
 public:
  explicit ProgressLine(size_t total) : m_total(total), m_isTerminal(isatty(STDERR_FILENO) != 0) {}
  ~ProgressLine() {
    if (m_isShown && m_isTerminal) std::fputs("\r\x1b[K", stderr);
  }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void Show(size_t done) {
    if (m_isTerminal) {
      std::fprintf(stderr, "\rrkplay: examined %zu of %zu files", done, m_total);
    } else if (!m_isShown && m_total > kFewFiles) {
      std::fprintf(stderr, "rkplay: examining %zu files\n", m_total);
    }
    std::fflush(stderr);
    m_isShown = true;
  }

 private:
  const size_t m_total;
  const bool m_isTerminal;
  bool m_isShown = false;
};

void ExamineOne(const std::string& path, const SRkMediaOptions& options, MediaFiles::Entry& entry) {
  SRkMediaReason reason{};
  if (RkExamineMedia(path.c_str(), &options, entry.file.Out(), &reason)) {
    entry.file->GetDescription(&entry.description);
  } else {
    entry.refusal = reason.text;
  }
}

// The work that the threads share. The lock guards the count and is held for nothing else.
class Survey {
 public:
  Survey(std::map<std::string, MediaFiles::Entry>& entries, const SRkMediaOptions& options)
      : m_options(options) {
    for (auto& entry : entries) {
      if (!entry.second.file && entry.second.refusal.empty()) m_work.push_back(&entry);
    }
  }

  void Run() {
    const size_t count = std::min<size_t>(m_work.size(), std::max(1u, std::thread::hardware_concurrency()));
    std::vector<std::thread> threads;
    for (size_t i = 0; i < count; ++i) threads.emplace_back([this] { _Work(); });
    _Watch();
    for (std::thread& thread : threads) thread.join();
  }

 private:
  void _Work() {
    for (size_t i = m_next++; i < m_work.size(); i = m_next++) {
      ExamineOne(m_work[i]->first, m_options, m_work[i]->second);
      const std::lock_guard lock(m_lock);
      if (++m_done == m_work.size()) m_ended.notify_all();
    }
  }

  void _Watch() {
    ProgressLine line(m_work.size());
    std::unique_lock lock(m_lock);
    const auto isDone = [this] { return m_done == m_work.size(); };
    for (auto wait = kQuietTime; !m_ended.wait_for(lock, wait, isDone); wait = kProgressInterval)
      line.Show(m_done);
  }

  const SRkMediaOptions& m_options;
  std::vector<std::pair<const std::string, MediaFiles::Entry>*> m_work;
  std::atomic<size_t> m_next = 0;
  std::mutex m_lock;
  std::condition_variable m_ended;
  size_t m_done = 0;
};

}  // namespace

void MediaFiles::Examine(const std::vector<std::string>& paths, const SRkMediaOptions& options) {
  for (const std::string& path : paths) m_entries.try_emplace(path);
  Survey(m_entries, options).Run();
}

}  // namespace rkplay
