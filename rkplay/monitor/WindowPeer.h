#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>

#include "rkplay/files/PicturePlanes.h"
#include "rkplay/monitor/Descriptor.h"
#include "rkplay/monitor/WindowLink.h"

namespace rkplay {

// A window's process as the program sees it, from its start to its end. One thread at a time; nothing blocks
// but the destructor.
class WindowPeer {
 public:
  // Null when no process can be started.
  static std::unique_ptr<WindowPeer> Start(const SRkVideoResolution& format);
  // Waits up to 2 s for the window to close, then kills the process.
  ~WindowPeer();
  WindowPeer(const WindowPeer&) = delete;
  WindowPeer& operator=(const WindowPeer&) = delete;

  // Readable when there is a report, or the process has ended.
  int Socket() const { return m_socket; }
  // Nothing: there is none at the moment. HasEnded then says whether one can follow.
  std::optional<WindowReport> TakeReport();
  bool HasEnded() const { return m_hasEnded; }

  // Only once the last picture has been reported on. Without planes: black.
  void Show(const PicturePlanes& picture);
  void SetTitle(const std::string& title);

 private:
  WindowPeer(const SRkVideoResolution& format, Descriptor socket, BYTE* memory)
      : m_format(format), m_socket(std::move(socket)), m_memory(memory) {}

  bool _Spawn(int socket, int memory);
  void _Order(const WindowOrder& order);

  const SRkVideoResolution m_format;
  const Descriptor m_socket;
  BYTE* const m_memory;
  UINT m_slot = 0;
  bool m_hasEnded = false;
  pid_t m_process = -1;
};

}  // namespace rkplay
