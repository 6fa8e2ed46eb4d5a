#include "rkplay/monitor/Window.h"

#include <SDL.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/monitor/Canvas.h"
#include "rkplay/monitor/DisplayWatch.h"

namespace rkplay {
namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kKeyPollMs = 10;
constexpr DWORD kStartPollMs = 50;
constexpr DWORD kCloseWaitMs = 2000;
// A display that takes a picture no sooner shows nothing.
constexpr std::chrono::seconds kLongestDraw(1);

constexpr std::pair<SDL_Keycode, Key> kKeys[] = {
    {SDLK_SPACE, Key::Pause},        {SDLK_LEFT, Key::FrameBack},
    {SDLK_RIGHT, Key::FrameForward}, {SDLK_PAGEUP, Key::SecondBack},
    {SDLK_HOME, Key::First},         {SDLK_PAGEDOWN, Key::SecondForward},
    {SDLK_END, Key::Last},           {SDLK_t, Key::Take},
    {SDLK_r, Key::Repeat},           {SDLK_q, Key::Quit},
    {SDLK_RETURN, Key::TakeWhenDue}, {SDLK_KP_ENTER, Key::TakeWhenDue}};

std::atomic<bool> g_hasLeftThread = false;

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

// The window's thread and what it shares with the others.
class Window::Core {
 public:
  Core(const SRkVideoResolution& format, KeyQueue& keys) : m_format(format), m_keys(keys) {}

  // False, and the failure says why, when no window can be opened.
  bool Start() {
    m_thread = std::thread([this] { _Run(); });
    while (!RkWait(m_started, kStartPollMs)) {
      if (DisplayWatch::IsConnectionLost()) return false;
    }
    return m_isOpen;
  }
  std::string Failure() const {
    return DisplayWatch::IsConnectionLost() ? "the display was lost" : m_failure;
  }

  // False when the thread is held and goes on using this object.
  bool Stop() {
    SetEvent(m_stop);
    _Wake();
    const bool ended = !DisplayWatch::IsConnectionLost() && RkWait(m_ended, kCloseWaitMs);
    if (ended) {
      m_thread.join();
    } else {
      m_thread.detach();
      g_hasLeftThread = true;
    }
    return ended;
  }

  PicturePlanes Planes(IRkVideoSample& picture) const { return {picture, m_format}; }
  void Show(PicturePlanes planes) {
    {
      CRkScopedLock lock(m_lock);
      std::swap(m_newest, planes);
      if (!m_hasNew) m_newSince = Clock::now();
      m_hasNew = true;
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

  bool IsShowing() const {
    CRkScopedLock lock(m_lock);
    return m_isOpen && !DisplayWatch::IsLost() && !(m_hasNew && Clock::now() - m_newSince > kLongestDraw);
  }
  unsigned LossCount() const { return DisplayWatch::IsLost() ? 1 : 0; }

 private:
  void _Run() {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "0");
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    const bool goesOn = _Open();
    if (!goesOn) m_failure = SDL_GetError();
    SetEvent(m_started);
    if (goesOn) _ShowUntilLost();
    if (DisplayWatch::IsLost()) {
      // SDL can close a window that has gone only at the risk of the program.
      static_cast<void>(m_canvas.release());
      RkWait(m_stop, INFINITE);
    } else {
      _Close();
      SDL_TLSCleanup();  // of this thread, which SDL did not make
    }
    SetEvent(m_ended);
  }

  // Returns at a stop, too.
  void _ShowUntilLost() {
    while (!RkWait(m_stop, 0)) {
      RkWait(m_wake, kKeyPollMs);
      bool mustDraw = false;
      for (SDL_Event event; SDL_PollEvent(&event) != 0;) mustDraw = _Obey(event) || mustDraw;
      if (!DisplayWatch::IsLost()) _Refresh(mustDraw);
      if (DisplayWatch::IsLost()) return;
    }
  }

  bool _Open() {
    // Without a display SDL would draw where nobody looks, which is meant only when its driver is named.
    if (!IsSet("SDL_VIDEODRIVER")) SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11,wayland");
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
      SDL_SetError("the display cannot be reached");
      return false;
    }
    m_window = SDL_CreateWindow("rkplay", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                                WidthInSquarePixels(m_format), m_format.height, SDL_WINDOW_RESIZABLE);
    if (m_window == nullptr) return false;
    DisplayWatch::Begin(m_window);
    m_canvas = Canvas::Create(m_window, m_format);
    m_isOpen = m_canvas != nullptr && !DisplayWatch::IsLost();
    if (m_isOpen) m_canvas->Draw(m_shown);
    return m_isOpen;
  }

  void _Close() {
    m_isOpen = false;
    m_canvas.reset();
    if (m_window != nullptr) SDL_DestroyWindow(m_window);
    m_window = nullptr;
    if (SDL_WasInit(SDL_INIT_VIDEO) != 0) SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }

  // True when the window's contents are lost. Closing the window is a wish to end. `?` comes as the text it
  // is, whatever keys make it.
  bool _Obey(const SDL_Event& event) {
    if (event.type == SDL_QUIT && !DisplayWatch::IsLost()) m_keys.Put(Key::Quit);
    if (event.type == SDL_TEXTINPUT && event.text.text[0] == '?') m_keys.Put(Key::Help);
    if (event.type == SDL_KEYDOWN) {
      for (const auto& [code, key] : kKeys) {
        if (event.key.keysym.sym == code) m_keys.Put(key);
      }
    }
    return event.type == SDL_WINDOWEVENT && (event.window.event == SDL_WINDOWEVENT_EXPOSED ||
                                             event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED);
  }

  void _Refresh(bool mustDraw) {
    std::string title;
    bool hasNewTitle = false;
    PicturePlanes newest;  // then the one before, released after the lock
    {
      CRkScopedLock lock(m_lock);
      std::swap(newest, m_newest);
      if (m_hasNew) std::swap(newest, m_shown);
      mustDraw = std::exchange(m_hasNew, false) || mustDraw;
      hasNewTitle = std::exchange(m_hasNewTitle, false);
      if (hasNewTitle) title = m_title;
    }
    if (hasNewTitle) SDL_SetWindowTitle(m_window, title.c_str());
    if (mustDraw) m_canvas->Draw(m_shown);
  }

  // Not by an event of SDL's: that may need the display, which is for the window's thread alone.
  void _Wake() const { SetEvent(m_wake); }

  const SRkVideoResolution m_format;
  KeyQueue& m_keys;
  const CRkHandle m_stop = CRkHandle::ManualResetEvent();
  const CRkHandle m_wake = CRkHandle::AutoResetEvent();
  const CRkHandle m_started = CRkHandle::ManualResetEvent();
  const CRkHandle m_ended = CRkHandle::ManualResetEvent();
  std::string m_failure;  // fixed before m_started is set
  std::atomic<bool> m_isOpen = false;

  mutable CRkCriticalSection m_lock;
  PicturePlanes m_newest RK_GUARDED_BY(m_lock);  // none: no picture
  bool m_hasNew RK_GUARDED_BY(m_lock) = false;
  Clock::time_point m_newSince RK_GUARDED_BY(m_lock);
  std::string m_title RK_GUARDED_BY(m_lock);
  bool m_hasNewTitle RK_GUARDED_BY(m_lock) = false;

  // The window's thread alone uses these.
  SDL_Window* m_window = nullptr;
  std::unique_ptr<Canvas> m_canvas;
  PicturePlanes m_shown;

  std::thread m_thread;
};

bool Window::HasDisplay() {
  return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

Window::Window(const SRkVideoResolution& format, KeyQueue& keys)
    : m_core(std::make_unique<Core>(format, keys)) {
  if (!HasDisplay() && !IsSet("SDL_VIDEODRIVER")) {
    throw UsageError("--monitor: there is no display for a window (--monitor=virtual plays without)");
  }
  if (m_core->Start()) return;
  const std::string failure = m_core->Failure();
  _End();
  throw UsageError("--monitor: no window can be opened: " + failure + " (--monitor=virtual plays without)");
}

Window::~Window() {
  _End();
}

void Window::_End() {
  if (!m_core->Stop()) static_cast<void>(m_core.release());
}

bool Window::HasLeftThread() {
  return g_hasLeftThread;
}

void Window::Show(IRkVideoSample& picture) {
  m_core->Show(m_core->Planes(picture));
}

void Window::Blank() {
  m_core->Show({});
}

void Window::SetTitle(const std::string& title) {
  m_core->SetTitle(title);
}

bool Window::IsShowing() const {
  return m_core->IsShowing();
}

unsigned Window::LossCount() const {
  return m_core->LossCount();
}

}  // namespace rkplay
