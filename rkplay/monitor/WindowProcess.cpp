#include "rkplay/monitor/WindowProcess.h"

#include <SDL.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "rkplay/monitor/Canvas.h"
#include "rkplay/monitor/DisplayWatch.h"
#include "rkplay/monitor/WindowLink.h"

namespace rkplay {
namespace {

constexpr int kEventPollMs = 10;

constexpr std::pair<SDL_Keycode, Key> kKeys[] = {
    {SDLK_SPACE, Key::Pause},        {SDLK_LEFT, Key::FrameBack},
    {SDLK_RIGHT, Key::FrameForward}, {SDLK_PAGEUP, Key::SecondBack},
    {SDLK_HOME, Key::First},         {SDLK_PAGEDOWN, Key::SecondForward},
    {SDLK_END, Key::Last},           {SDLK_t, Key::Take},
    {SDLK_r, Key::Repeat},           {SDLK_q, Key::Quit},
    {SDLK_RETURN, Key::TakeWhenDue}, {SDLK_KP_ENTER, Key::TakeWhenDue}};

class OrderedWindow {
 public:
  ~OrderedWindow() {
    m_canvas.reset();
    if (m_window != nullptr) SDL_DestroyWindow(m_window);
    SDL_Quit();
    if (m_memory != MAP_FAILED) munmap(m_memory, _MemoryBytes());
  }

  int Run() {
    if (recv(kWindowSocket, &m_format, sizeof(m_format), 0) != sizeof(m_format)) return EXIT_FAILURE;
    if (!_Open()) {
      _Report(WindowReport::Kind::Failed, SDL_GetError());
      return EXIT_FAILURE;
    }
    _Report(WindowReport::Kind::Opened);
    while (_ObeyOrders()) {
      for (SDL_Event event; SDL_PollEvent(&event) != 0;) _Obey(event);
      _Draw();
      if (DisplayWatch::IsLost()) _Leave();
      pollfd orders = {kWindowSocket, POLLIN, 0};
      poll(&orders, 1, kEventPollMs);
    }
    return EXIT_SUCCESS;
  }

 private:
  bool _Open() {
    m_memory = mmap(nullptr, _MemoryBytes(), PROT_READ, MAP_SHARED, kWindowMemory, 0);
    if (m_memory == MAP_FAILED) return SDL_SetError("there is no memory for pictures") == 0;
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "0");
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    // Without a display SDL would draw where nobody looks, which is meant only when its driver is named.
    const char* const driver = std::getenv("SDL_VIDEODRIVER");
    if (driver == nullptr || *driver == '\0') SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11,wayland");
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) return SDL_SetError("the display cannot be reached") == 0;
    m_window = SDL_CreateWindow("rkplay", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                                WidthInSquarePixels(m_format), m_format.height, SDL_WINDOW_RESIZABLE);
    if (m_window == nullptr) return false;
    m_canvas = Canvas::Create(m_window, m_format);
    DisplayWatch::Begin(m_window);  // the canvas may have replaced the window
    return m_canvas != nullptr && m_canvas->Draw(m_picture);
  }

  // False when the program has closed its end.
  bool _ObeyOrders() {
    while (true) {
      WindowOrder order;
      const ssize_t bytes = recv(kWindowSocket, &order, sizeof(order), MSG_DONTWAIT);
      if (bytes < 0 && (errno == EAGAIN || errno == EINTR)) return true;
      if (bytes != sizeof(order)) return false;
      if (order.kind == WindowOrder::Kind::Title) {
        SDL_SetWindowTitle(m_window, order.title);
      } else {
        m_picture = _InSlot(order.slot);
        m_mustDraw = m_mustReport = true;
      }
    }
  }
  PicturePlanes _InSlot(UINT slot) const {
    if (slot >= kWindowSlots) return {};
    return {static_cast<const BYTE*>(m_memory) + slot * SlotBytes(m_format), m_format};
  }

  // Closing the window is a wish to end. SDL's own wish, without that, follows the loss of its display. `?`
  // comes as the text it is, whatever keys make it.
  void _Obey(const SDL_Event& event) {
    if (event.type == SDL_QUIT && !std::exchange(m_isClosed, false)) _Leave();
    if (event.type == SDL_TEXTINPUT && event.text.text[0] == '?') _Press(Key::Help);
    if (event.type == SDL_KEYDOWN) {
      for (const auto& [code, key] : kKeys) {
        if (event.key.keysym.sym == code) _Press(key);
      }
    }
    if (event.type != SDL_WINDOWEVENT) return;
    if (event.window.event == SDL_WINDOWEVENT_CLOSE) {
      m_isClosed = true;
      _Press(Key::Quit);
    }
    m_mustDraw = m_mustDraw || event.window.event == SDL_WINDOWEVENT_EXPOSED ||
                 event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED;
  }

  void _Draw() {
    if (!std::exchange(m_mustDraw, false)) return;
    const bool drawn = m_canvas->Draw(m_picture) && !DisplayWatch::IsLost();
    if (!std::exchange(m_mustReport, false)) return;
    _Report(drawn ? WindowReport::Kind::Drawn : WindowReport::Kind::NotDrawn);
  }

  static void _Press(Key key) {
    WindowReport report{};
    report.kind = WindowReport::Kind::Pressed;
    report.key = key;
    send(kWindowSocket, &report, sizeof(report), MSG_NOSIGNAL);
  }
  static void _Report(WindowReport::Kind kind, const char* reason = "") {
    WindowReport report{};
    report.kind = kind;
    std::snprintf(report.reason, sizeof(report.reason), "%s", reason);
    send(kWindowSocket, &report, sizeof(report), MSG_NOSIGNAL);
  }

  // SDL cannot close a window that has gone.
  [[noreturn]] static void _Leave() { std::_Exit(EXIT_FAILURE); }

  size_t _MemoryBytes() const { return kWindowSlots * SlotBytes(m_format); }

  SRkVideoResolution m_format{};
  void* m_memory = MAP_FAILED;
  SDL_Window* m_window = nullptr;
  std::unique_ptr<Canvas> m_canvas;
  PicturePlanes m_picture;  // none: black
  bool m_mustDraw = false;
  bool m_mustReport = false;  // on the picture to draw
  bool m_isClosed = false;
};

}  // namespace

int RunWindowProcess() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a window that hangs does not see the socket close
  return OrderedWindow().Run();
}

}  // namespace rkplay
