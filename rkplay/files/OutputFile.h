#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace rkplay {

// A file that is written front to back. After the first failure nothing more is written and Error() says
// what went wrong, with the file's name.
class OutputFile {
 public:
  // Creates or empties the file; throws UsageError when that is refused.
  explicit OutputFile(const std::string& path);

  bool Write(const void* data, size_t bytes);
  // Puts bytes in place of others that were written before; the next Write goes on at the end.
  bool Overwrite(long offset, const void* data, size_t bytes);
  // Writes out what is buffered and closes. False when anything at all was not written.
  bool Close();

  bool Fail(const std::string& reason);
  const std::string& Error() const { return m_error; }

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  bool _FailWithErrno();

  std::string m_path;
  std::vector<char> m_buffer;  // pictures come row by row
  std::unique_ptr<std::FILE, Closer> m_file;
  std::string m_error;
};

// Writes a file in one piece: under its name there is either what was there before, or all of the new
// contents. False, with the reason, when it cannot be written.
bool WriteWholeFile(const std::string& path, const void* data, size_t bytes, std::string& reason);

}  // namespace rkplay
