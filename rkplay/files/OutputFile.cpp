#include "rkplay/files/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "rkplay/cli/Messages.h"

namespace rkplay {
namespace {

constexpr size_t kBufferBytes = size_t{1} << 20;

#ifdef O_BINARY
constexpr int kBinary = O_BINARY;
#else
constexpr int kBinary = 0;
#endif

namespace fs = std::filesystem;

// A rename would put a file in the place of a device, and replace one that is protected.
bool MayBeReplaced(const fs::path& target, std::string& reason) {
  std::error_code error;
  const bool isThere = fs::exists(target, error);
  if (isThere && !fs::is_regular_file(target, error)) {
    reason = "it is no regular file";
  } else if (isThere && access(target.string().c_str(), W_OK) != 0) {
    reason = std::strerror(errno);
  } else {
    return true;
  }
  return false;
}

// Windows' C library has no mode of fopen for a file that must not exist.
std::FILE* NewFile(const std::string& path) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | kBinary, 0666);
  return descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
}

bool WriteNewFile(const std::string& path, const void* data, size_t bytes) {
  std::FILE* file = NewFile(path);
  if (file == nullptr) return false;
  const bool written = bytes == 0 || std::fwrite(data, bytes, 1, file) == 1;
  const int writeError = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written) errno = writeError;
  return written && closed;
}

}  // namespace

OutputFile::OutputFile(const std::string& path)
    : m_path(path), m_buffer(kBufferBytes), m_file(std::fopen(path.c_str(), "wb")) {
  if (!m_file) throw UsageError(path + ": cannot be written: " + std::strerror(errno));
  std::setvbuf(m_file.get(), m_buffer.data(), _IOFBF, m_buffer.size());
}

bool OutputFile::Write(const void* data, size_t bytes) {
  if (!m_error.empty()) return false;
  return bytes == 0 || std::fwrite(data, bytes, 1, m_file.get()) == 1 || _FailWithErrno();
}

bool OutputFile::Overwrite(long offset, const void* data, size_t bytes) {
  if (!m_error.empty()) return false;
  if (std::fseek(m_file.get(), offset, SEEK_SET) != 0) return _FailWithErrno();
  if (!Write(data, bytes)) return false;
  return std::fseek(m_file.get(), 0, SEEK_END) == 0 || _FailWithErrno();
}

bool OutputFile::Close() {
  if (m_file && std::fclose(m_file.release()) != 0) _FailWithErrno();
  return m_error.empty();
}

bool OutputFile::Fail(const std::string& reason) {
  if (m_error.empty()) m_error = m_path + ": " + reason;
  return false;
}

bool OutputFile::_FailWithErrno() {
  return Fail(std::string("cannot be written: ") + std::strerror(errno));
}

bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, std::string& reason) {
  std::error_code error;
  fs::path target = fs::canonical(path, error);  // a link keeps pointing to the file
  if (error) target = path;
  if (!MayBeReplaced(target, reason)) return false;
  const std::string draft = target.string() + "." + std::to_string(getpid()) + ".part";
  if (!WriteNewFile(draft, data, bytes)) {
    reason = std::strerror(errno);
    if (errno != EEXIST) fs::remove(draft, error);  // otherwise the draft is somebody else's
    return false;
  }
  fs::rename(draft, target, error);
  if (!error) return true;
  reason = error.message();
  fs::remove(draft, error);
  return false;
}

}  // namespace rkplay
