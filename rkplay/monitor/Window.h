#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "rkplay/files/PicturePlanes.h"
#include "rkplay/monitor/Keys.h"

struct SDL_Renderer;
struct SDL_Texture;
struct SDL_Window;
union SDL_Event;

namespace rkplay {

// The monitor's window: shows the newest picture it was given, in its shape, and passes keys on.
//
// All of SDL's video is used on a thread of the window's own, which draws and reads the keys. Show, Blank
// and SetTitle come from any thread and return at once; the lock guards what they leave for that thread.
// Of a picture only the planes are held, so the device has its sample back at once.
class Window {
 public:
  // Throws UsageError when there is no display or no window can be made.
  Window(const SRkVideoResolution& format, KeyQueue& keys);
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Whether the environment names a display.
  static bool HasDisplay();

  void Show(IRkVideoSample& picture);
  void Blank();
  void SetTitle(const std::string& title);

 private:
  void _Run();
  bool _Open();
  void _Close();
  void _Obey(const SDL_Event& event);
  void _Refresh();
  void _Draw();
  bool _Upload(const PicturePlanes& planes);
  void _Wake() const;

  const SRkVideoResolution m_format;
  KeyQueue& m_keys;
  const CRkHandle m_opened = CRkHandle::ManualResetEvent();  // or has failed to
  std::string m_failure;                                     // fixed before m_opened is set
  std::atomic<bool> m_stop = false;
  std::atomic<unsigned> m_wakeEvent = 0;

  CRkCriticalSection m_lock;
  PicturePlanes m_newest RK_GUARDED_BY(m_lock);  // none: no picture
  bool m_hasNew RK_GUARDED_BY(m_lock) = false;
  std::string m_title RK_GUARDED_BY(m_lock);
  bool m_hasNewTitle RK_GUARDED_BY(m_lock) = false;

  // The window's thread alone uses these.
  SDL_Window* m_window = nullptr;
  SDL_Renderer* m_renderer = nullptr;
  SDL_Texture* m_texture = nullptr;
  std::vector<BYTE> m_narrowed[2];  // chroma of 4:4:4 pictures at half the width
  bool m_hasPicture = false;

  std::thread m_thread;
};

}  // namespace rkplay
