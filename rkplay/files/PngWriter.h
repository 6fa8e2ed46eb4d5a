#pragma once

#include <memory>
#include <string>

#include "contracts/RkKernel.h"

namespace rkplay {

// Writes pictures of one format as PNG files, 8 bits a colour, without correcting the shape of the pixels.
// One thread at a time.
class PngWriter {
 public:
  // Throws UsageError when pictures of the format cannot be written.
  explicit PngWriter(const SRkVideoResolution& video);
  ~PngWriter();
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;

  // False, with the reason, when the file was not written; what was there under its name then stays.
  bool Write(IRkAVPlaySample& sample, const std::string& path, std::string& reason);

 private:
  class Coder;

  const SRkVideoResolution m_video;
  const std::unique_ptr<Coder> m_coder;
};

}  // namespace rkplay
