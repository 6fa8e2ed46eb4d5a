#pragma once

#include <optional>
#include <string>
#include <vector>

#include "rkplay/files/WavWriter.h"
#include "rkplay/files/Y4mWriter.h"

namespace rkplay {

// Where delivered frames go: the files that were asked for, or nowhere.
class FrameOutput {
 public:
  // Creates the files whose paths are not empty; throws UsageError.
  FrameOutput(const std::string& videoPath, const std::string& audioPath, const SRkClipFormat& format);

  // False once a file could not be written.
  bool Write(IRkAVPlaySample& sample);
  // Completes the files and adds what went wrong.
  void Close(std::vector<std::string>& errors);

 private:
  std::optional<Y4mWriter> m_video;
  std::optional<WavWriter> m_audio;
};

// Throws UsageError when one of the outputs is an input, or is named twice. Empty names are left out.
void RefuseOverwriting(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs);

}  // namespace rkplay
