#include "rkplay/files/OutputFile.h"

#include <cerrno>
#include <cstring>

#include "rkplay/cli/UsageError.h"

namespace rkplay {
namespace {

constexpr size_t kBufferBytes = size_t{1} << 20;

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

}  // namespace rkplay
