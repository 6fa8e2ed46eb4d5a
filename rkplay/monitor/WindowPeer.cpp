#include "rkplay/monitor/WindowPeer.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include "rkplay/cli/Messages.h"

namespace rkplay {
namespace {

constexpr int kCloseWaitMs = 2000;

}  // namespace

std::unique_ptr<WindowPeer> WindowPeer::Start(const SRkVideoResolution& format) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;
  Descriptor ours(ends[0]);
  const Descriptor theirs(ends[1]);
  const Descriptor memory(memfd_create("rkplay-window", MFD_CLOEXEC));
  const size_t bytes = kWindowSlots * SlotBytes(format);
  if (memory < 0 || ftruncate(memory, static_cast<off_t>(bytes)) != 0) return nullptr;
  void* const mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
  if (mapped == MAP_FAILED) return nullptr;
  std::unique_ptr<WindowPeer> peer(new WindowPeer(format, std::move(ours), static_cast<BYTE*>(mapped)));
  if (!peer->_Spawn(theirs, memory)) return nullptr;
  send(peer->m_socket, &format, sizeof(format), MSG_NOSIGNAL);
  return peer;
}

// In a process group of its own: the terminal's interrupt and stop are for the program. What the X library
// complains about is said in our own words.
bool WindowPeer::_Spawn(int socket, int memory) {
  // Above the numbers that they get, so that no copy overwrites the other.
  const Descriptor socketCopy(fcntl(socket, F_DUPFD_CLOEXEC, kWindowMemory + 1));
  const Descriptor memoryCopy(fcntl(memory, F_DUPFD_CLOEXEC, kWindowMemory + 1));
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&files, socketCopy, kWindowSocket);
  posix_spawn_file_actions_adddup2(&files, memoryCopy, kWindowMemory);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  std::string name = "rkplay";
  std::string command = kWindowCommand;
  char* const arguments[] = {name.data(), command.data(), nullptr};
  const int error = posix_spawn(&m_process, "/proc/self/exe", &files, &attributes, arguments, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) m_process = -1;
  return error == 0;
}

WindowPeer::~WindowPeer() {
  if (m_process > 0) {
    shutdown(m_socket, SHUT_WR);
    pollfd end = {m_socket, 0, 0};  // for its hang-up alone
    if (!m_hasEnded) poll(&end, 1, kCloseWaitMs);
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
  }
  munmap(m_memory, kWindowSlots * SlotBytes(m_format));
}

std::optional<WindowReport> WindowPeer::TakeReport() {
  WindowReport report;
  const ssize_t bytes = recv(m_socket, &report, sizeof(report), MSG_DONTWAIT);
  if (bytes == sizeof(report)) return report;
  if (bytes >= 0 || (errno != EAGAIN && errno != EINTR)) m_hasEnded = true;
  return std::nullopt;
}

void WindowPeer::Show(const PicturePlanes& picture) {
  WindowOrder order = {.kind = WindowOrder::Kind::Picture, .slot = kNoSlot, .title = {}};
  if (picture) {
    order.slot = m_slot = (m_slot + 1) % kWindowSlots;
    BYTE* target = m_memory + m_slot * SlotBytes(m_format);
    for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
      const size_t bytes = RkPlaneLayout(m_format, plane).Bytes();
      std::memcpy(target, picture.Rows(plane), bytes);
      target += bytes;
    }
  }
  _Order(order);
}

void WindowPeer::SetTitle(const std::string& title) {
  WindowOrder order = {.kind = WindowOrder::Kind::Title, .slot = kNoSlot, .title = {}};
  const std::string_view text = CutToBytes(title, kLongestText);
  text.copy(order.title, text.size());
  _Order(order);
}

// A window that takes nothing misses titles; pictures are never more than one ahead.
void WindowPeer::_Order(const WindowOrder& order) {
  send(m_socket, &order, sizeof(order), MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace rkplay
