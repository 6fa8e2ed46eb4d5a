#include "rkplay/monitor/Window.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/monitor/WindowPeer.h"

namespace rkplay {
namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kOpenWaitMs = 10'000;
constexpr DWORD kSettleMs = 1000;
constexpr std::chrono::milliseconds kRetry(1000);
// A display that takes a picture no sooner shows nothing.
constexpr std::chrono::seconds kLongestDraw(1);

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

// The thread that serves the window's process, and what it shares with the others.
class Window::Core {
 public:
  Core(const SRkVideoResolution& format, KeyQueue& keys) : m_format(format), m_keys(keys) {
    m_thread = std::thread([this] { _Run(); });
  }
  ~Core() {
    m_stops = true;
    _Wake();
    m_thread.join();
  }

  // Nothing: the window is open. Otherwise why not.
  std::optional<std::string> AwaitWindow() {
    if (!RkWait(m_answered, kOpenWaitMs)) return "the display does not answer";
    CRkScopedLock lock(m_lock);
    return m_failure;
  }

  PicturePlanes Planes(IRkVideoSample& picture) const { return {picture, m_format}; }
  void Show(PicturePlanes planes, bool isCounted) {
    {
      CRkScopedLock lock(m_lock);
      if (m_hasNew && m_newest.isCounted) ++m_undrawn;
      std::swap(m_newest.planes, planes);
      m_newest.isCounted = isCounted;
      m_hasNew = true;
      const auto now = Clock::now();
      if (!m_undrawnSince) m_undrawnSince = now;
      if (now - *m_undrawnSince > kLongestDraw) _Lose();
      ResetEvent(m_settled);
    }
    _Wake();
  }
  void SetTitle(const std::string& title) {
    {
      CRkScopedLock lock(m_lock);
      m_title = title;
      m_hasNewTitle = true;
    }
    _Wake();
  }

  void Settle() {
    RkWait(m_settled, kSettleMs);
    CRkScopedLock lock(m_lock);
    if (m_hasNew && std::exchange(m_newest.isCounted, false)) ++m_undrawn;
  }
  bool IsShowing() const {
    CRkScopedLock lock(m_lock);
    return !m_isLost;
  }
  unsigned LossCount() const {
    CRkScopedLock lock(m_lock);
    return m_losses;
  }
  ULONGLONG UndrawnCount() const {
    CRkScopedLock lock(m_lock);
    return m_undrawn;
  }

 private:
  struct Picture {
    PicturePlanes planes;  // none: black
    bool isCounted = false;
  };

  void _Run() {
    auto nextStart = Clock::now();
    while (!m_stops) {
      if (!m_peer && Clock::now() >= nextStart) {
        m_peer = WindowPeer::Start(m_format);
        nextStart = Clock::now() + kRetry;
      }
      if (m_isOpen) _GiveOrders();
      pollfd events[] = {{m_wake, POLLIN, 0}, {m_peer ? m_peer->Socket() : -1, POLLIN, 0}};
      poll(events, 2, m_peer ? -1 : static_cast<int>(kRetry.count()));
      std::uint64_t wakes = 0;
      if (events[0].revents != 0 && read(m_wake, &wakes, sizeof(wakes)) < 0) return;
      if (m_peer) _TakeReports();
    }
    m_peer.reset();
  }

  // Redraws nothing: a picture that is under way is waited for, and the newest one follows it.
  void _GiveOrders() {
    std::string title;
    bool hasNewTitle = false;
    bool hasNew = false;
    Picture before;  // released after the lock
    {
      CRkScopedLock lock(m_lock);
      hasNewTitle = std::exchange(m_hasNewTitle, false);
      if (hasNewTitle) title = m_title;
      hasNew = !m_isUnderWay && std::exchange(m_hasNew, false);
      if (hasNew) before = std::exchange(m_shown, std::move(m_newest));
    }
    if (hasNewTitle) m_peer->SetTitle(title);
    if (hasNew) _Show();
  }
  void _Show() {
    m_peer->Show(m_shown.planes);
    m_isUnderWay = true;
  }

  void _TakeReports() {
    while (const auto report = m_peer->TakeReport()) {
      if (report->kind == WindowReport::Kind::Pressed) m_keys.Put(report->key);
      if (report->kind == WindowReport::Kind::Opened) _Opened();
      if (report->kind == WindowReport::Kind::Failed) _Answer(report->reason);
      if (report->kind == WindowReport::Kind::Drawn) _Reported(true);
      if (report->kind == WindowReport::Kind::NotDrawn) _Reported(false);
    }
    if (!m_peer->HasEnded()) return;
    m_peer.reset();
    m_isOpen = false;
    if (m_isUnderWay) _Reported(false);
    _Answer("the display was lost");
    CRkScopedLock lock(m_lock);
    _Lose();
  }
  // A window in the place of a lost one shows what that one showed.
  void _Opened() {
    m_isOpen = true;
    _Answer(std::nullopt);
    bool replaces = false;
    {
      CRkScopedLock lock(m_lock);
      m_hasNewTitle = !m_title.empty();
      replaces = m_losses > 0;
    }
    if (replaces) _Show();
  }
  void _Reported(bool drawn) {
    m_isUnderWay = false;
    CRkScopedLock lock(m_lock);
    if (std::exchange(m_shown.isCounted, false) && !drawn) ++m_undrawn;
    if (drawn) m_isLost = false;
    if (!drawn) return;
    m_undrawnSince.reset();
    if (m_hasNew) {
      m_undrawnSince = Clock::now();
    } else {
      SetEvent(m_settled);
    }
  }
  // The first answer is the one that counts.
  void _Answer(std::optional<std::string> failure) {
    if (std::exchange(m_hasAnswered, true)) return;
    {
      CRkScopedLock lock(m_lock);
      m_failure = std::move(failure);
    }
    SetEvent(m_answered);
  }

  void _Lose() RK_REQUIRES(m_lock) {
    if (!std::exchange(m_isLost, true)) ++m_losses;
    SetEvent(m_settled);
  }
  void _Wake() const {
    const std::uint64_t once = 1;
    if (write(m_wake, &once, sizeof(once)) < 0) return;  // the counter is full: a wake is due anyway
  }

  const SRkVideoResolution m_format;
  KeyQueue& m_keys;
  const Descriptor m_wake{eventfd(0, EFD_CLOEXEC)};
  const CRkHandle m_answered = CRkHandle::ManualResetEvent();
  const CRkHandle m_settled = CRkHandle::ManualResetEvent();
  std::atomic<bool> m_stops = false;

  mutable CRkCriticalSection m_lock;
  std::optional<std::string> m_failure RK_GUARDED_BY(m_lock);
  Picture m_newest RK_GUARDED_BY(m_lock);
  std::optional<Clock::time_point> m_undrawnSince RK_GUARDED_BY(m_lock);
  std::string m_title RK_GUARDED_BY(m_lock);
  ULONGLONG m_undrawn RK_GUARDED_BY(m_lock) = 0;
  unsigned m_losses RK_GUARDED_BY(m_lock) = 0;
  bool m_hasNew RK_GUARDED_BY(m_lock) = false;
  bool m_hasNewTitle RK_GUARDED_BY(m_lock) = false;
  bool m_isLost RK_GUARDED_BY(m_lock) = false;

  // The thread alone uses these.
  bool m_isOpen = false;
  bool m_hasAnswered = false;
  bool m_isUnderWay = false;           // the picture shown, which the window has not reported on
  Picture m_shown;                     // the last that the window was given
  std::unique_ptr<WindowPeer> m_peer;  // null: another one is to be started

  std::thread m_thread;
};

bool Window::HasDisplay() {
  return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

Window::Window(const SRkVideoResolution& format, KeyQueue& keys) {
  if (!HasDisplay() && !IsSet("SDL_VIDEODRIVER")) {
    throw UsageError("--monitor: there is no display for a window (--monitor=virtual plays without)");
  }
  m_core = std::make_unique<Core>(format, keys);
  if (const auto failure = m_core->AwaitWindow()) {
    throw UsageError("--monitor: no window can be opened: " + *failure +
                     " (--monitor=virtual plays without)");
  }
}

Window::~Window() = default;

void Window::Show(IRkVideoSample& picture, bool isCounted) {
  m_core->Show(m_core->Planes(picture), isCounted);
}

void Window::Blank() {
  m_core->Show({}, false);
}

void Window::SetTitle(const std::string& title) {
  m_core->SetTitle(title);
}

void Window::Settle() {
  m_core->Settle();
}

bool Window::IsShowing() const {
  return m_core->IsShowing();
}

unsigned Window::LossCount() const {
  return m_core->LossCount();
}

ULONGLONG Window::UndrawnCount() const {
  return m_core->UndrawnCount();
}

}  // namespace rkplay
