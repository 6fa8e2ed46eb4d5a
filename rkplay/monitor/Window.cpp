#include "rkplay/monitor/Window.h"

#include <SDL.h>

#include <cstdlib>
#include <utility>

#include "contracts/RkPictureLayout.h"
#include "rkplay/cli/UsageError.h"

namespace rkplay {
namespace {

constexpr int kEventWaitMs = 100;

constexpr std::pair<SDL_Keycode, Key> kKeys[] = {
    {SDLK_SPACE, Key::Pause},        {SDLK_LEFT, Key::FrameBack},
    {SDLK_RIGHT, Key::FrameForward}, {SDLK_PAGEUP, Key::SecondBack},
    {SDLK_HOME, Key::First},         {SDLK_PAGEDOWN, Key::SecondForward},
    {SDLK_END, Key::Last},           {SDLK_t, Key::Take},
    {SDLK_r, Key::Repeat},           {SDLK_q, Key::Quit},
    {SDLK_RETURN, Key::TakeWhenDue}, {SDLK_KP_ENTER, Key::TakeWhenDue}};

SDL_YUV_CONVERSION_MODE ColoursOf(const SRkVideoResolution& format) {
  if (format.colorRange == RkColorRange_Full) return SDL_YUV_CONVERSION_JPEG;
  return RkHasHdColours(format.height) ? SDL_YUV_CONVERSION_BT709 : SDL_YUV_CONVERSION_BT601;
}

int WidthInSquarePixels(const SRkVideoResolution& format) {
  if (format.aspectNumerator <= 0 || format.aspectDenominator <= 0) return format.width;
  return static_cast<int>(static_cast<long long>(format.width) * format.aspectNumerator /
                          format.aspectDenominator);
}

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

bool Window::HasDisplay() {
  return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

// Without a display SDL would draw where nobody looks, so that has to be asked for by its driver's name.
Window::Window(const SRkVideoResolution& format, KeyQueue& keys) : m_format(format), m_keys(keys) {
  if (!HasDisplay() && !IsSet("SDL_VIDEODRIVER")) {
    throw UsageError("--monitor: there is no display for a window (--monitor=virtual plays without)");
  }
  m_thread = std::thread([this] { _Run(); });
  RkWait(m_opened, INFINITE);
  if (m_failure.empty()) return;
  m_thread.join();
  throw UsageError("no window can be opened: " + m_failure);
}

Window::~Window() {
  m_stop = true;
  _Wake();
  m_thread.join();
}

void Window::Show(IRkVideoSample& picture) {
  PicturePlanes planes(picture, m_format);
  {
    CRkScopedLock lock(m_lock);
    std::swap(m_newest, planes);
    m_hasNew = true;
  }
  _Wake();
}

void Window::Blank() {
  PicturePlanes none;
  {
    CRkScopedLock lock(m_lock);
    std::swap(m_newest, none);
    m_hasNew = true;
  }
  _Wake();
}

void Window::SetTitle(const std::string& title) {
  {
    CRkScopedLock lock(m_lock);
    m_title = title;
    m_hasNewTitle = true;
  }
  _Wake();
}

void Window::_Wake() const {
  SDL_Event event{};
  event.type = m_wakeEvent;
  SDL_PushEvent(&event);
}

void Window::_Run() {
  if (!_Open()) m_failure = SDL_GetError();
  const bool opened = m_failure.empty();
  SetEvent(m_opened);
  while (opened && !m_stop) {
    SDL_Event event;
    if (!SDL_WaitEventTimeout(&event, kEventWaitMs)) continue;
    do {
      _Obey(event);
    } while (SDL_PollEvent(&event));
    _Refresh();
  }
  _Close();
}

bool Window::_Open() {
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
  SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "0");
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) return false;
  m_wakeEvent = SDL_RegisterEvents(1);
  const int width = WidthInSquarePixels(m_format);
  m_window = SDL_CreateWindow("rkplay", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width,
                              m_format.height, SDL_WINDOW_RESIZABLE);
  if (m_window == nullptr) return false;
  SDL_SetYUVConversionMode(ColoursOf(m_format));
  m_renderer = SDL_CreateRenderer(m_window, -1, 0);
  if (m_renderer == nullptr || SDL_RenderSetLogicalSize(m_renderer, width, m_format.height) != 0)
    return false;
  m_texture = SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING, m_format.width,
                                m_format.height);
  return m_texture != nullptr;
}

void Window::_Close() {
  if (m_texture != nullptr) SDL_DestroyTexture(m_texture);
  if (m_renderer != nullptr) SDL_DestroyRenderer(m_renderer);
  if (m_window != nullptr) SDL_DestroyWindow(m_window);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  SDL_TLSCleanup();  // of this thread, which SDL did not make
}

// Closing the window is a wish to end. `?` comes as the text it is, whatever keys make it.
void Window::_Obey(const SDL_Event& event) {
  if (event.type == SDL_QUIT) m_keys.Put(Key::Quit);
  if (event.type == SDL_TEXTINPUT && event.text.text[0] == '?') m_keys.Put(Key::Help);
  if (event.type == SDL_WINDOWEVENT) _Draw();
  if (event.type != SDL_KEYDOWN) return;
  for (const auto& [code, key] : kKeys) {
    if (event.key.keysym.sym == code) m_keys.Put(key);
  }
}

void Window::_Refresh() {
  PicturePlanes planes;
  std::string title;
  bool hasNew = false;
  bool hasNewTitle = false;
  {
    CRkScopedLock lock(m_lock);
    std::swap(hasNew, m_hasNew);
    std::swap(hasNewTitle, m_hasNewTitle);
    if (hasNew) std::swap(planes, m_newest);
    if (hasNewTitle) title.swap(m_title);
  }
  if (hasNewTitle) SDL_SetWindowTitle(m_window, title.c_str());
  if (!hasNew) return;
  m_hasPicture = _Upload(planes);
  _Draw();
}

void Window::_Draw() {
  SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, SDL_ALPHA_OPAQUE);
  SDL_RenderClear(m_renderer);
  if (m_hasPicture) SDL_RenderCopy(m_renderer, m_texture, nullptr, nullptr);
  SDL_RenderPresent(m_renderer);
}

// The texture is 4:2:0. Of wider chroma every other row is left out, and every other sample of a row.
bool Window::_Upload(const PicturePlanes& planes) {
  const BYTE* data[kRkPlaneCount];
  int stride[kRkPlaneCount];
  if (!planes) return false;
  for (UINT i = 0; i < kRkPlaneCount; ++i) {
    const SRkPlaneLayout layout = RkPlaneLayout(m_format, i);
    data[i] = planes.Rows(i);
    stride[i] = layout.stride;
    if (i == 0 || m_format.pixelFormat == RkPixelFormat_I420) continue;
    if (m_format.pixelFormat == RkPixelFormat_I444) {
      std::vector<BYTE>& narrowed = m_narrowed[i - 1];
      narrowed.resize(layout.Bytes());
      for (size_t x = 0; x < layout.Bytes(); x += 2) narrowed[x / 2] = data[i][x];
      data[i] = narrowed.data();
      stride[i] = layout.stride / 2;
    }
    stride[i] *= 2;
  }
  return SDL_UpdateYUVTexture(m_texture, nullptr, data[0], stride[0], data[1], stride[1], data[2],
                              stride[2]) == 0;
}

}  // namespace rkplay
