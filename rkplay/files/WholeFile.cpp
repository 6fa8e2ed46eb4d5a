#include "rkplay/files/WholeFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace rkplay {
namespace {

namespace fs = std::filesystem;

// A rename would put a file in the place of a device, and replace one that is protected.
bool MayBeReplaced(const fs::path& target, std::string& reason) {
  std::error_code error;
  const bool isThere = fs::exists(target, error);
  if (isThere && !fs::is_regular_file(target, error)) {
    reason = "it is no regular file";
  } else if (isThere && access(target.c_str(), W_OK) != 0) {
    reason = std::strerror(errno);
  } else {
    return true;
  }
  return false;
}

bool WriteNewFile(const fs::path& path, const void* data, size_t bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wbx");
  if (file == nullptr) return false;
  const bool written = bytes == 0 || std::fwrite(data, bytes, 1, file) == 1;
  const int writeError = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written) errno = writeError;
  return written && closed;
}

}  // namespace

bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, std::string& reason) {
  std::error_code error;
  fs::path target = fs::canonical(path, error);  // a link keeps pointing to the file
  if (error) target = path;
  if (!MayBeReplaced(target, reason)) return false;
  const fs::path draft = target.string() + "." + std::to_string(getpid()) + ".part";
  if (WriteNewFile(draft, data, bytes) && std::rename(draft.c_str(), target.c_str()) == 0) return true;
  reason = std::strerror(errno);
  if (errno != EEXIST) fs::remove(draft, error);  // then the draft is somebody else's
  return false;
}

}  // namespace rkplay
