#pragma once

#include <string>

#include "contracts/RkKernel.h"
#include "rkplay/files/OutputFile.h"

namespace rkplay {

// Writes pictures as YUV4MPEG2: one header, then every frame's planes without the padding of their rows.
class Y4mWriter {
 public:
  Y4mWriter(const std::string& path, const SRkVideoResolution& video);

  bool Write(IRkAVPlaySample& sample);
  bool Close() { return m_file.Close(); }
  const std::string& Error() const { return m_file.Error(); }

 private:
  const SRkVideoResolution m_video;
  OutputFile m_file;
};

}  // namespace rkplay
