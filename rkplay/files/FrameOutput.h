#pragma once

#include <optional>
#include <string>
#include <vector>

#include "rkplay/cli/Options.h"
#include "rkplay/files/WavWriter.h"
#include "rkplay/files/Y4mWriter.h"

namespace rkplay {

// Where delivered frames go: the files that were asked for, or nowhere.
class FrameOutput {
 public:
  // Creates the files; throws UsageError.
  FrameOutput(const Options& options, const SRkClipFormat& format);

  // False once a file could not be written.
  bool Write(IRkAVPlaySample& sample);
  // Completes the files and adds what went wrong.
  void Close(std::vector<std::string>& errors);

 private:
  std::optional<Y4mWriter> m_video;
  std::optional<WavWriter> m_audio;
};

// Throws UsageError when a file to write is one that is read, or is asked for twice.
void RefuseOverwriting(const Options& options, const std::vector<std::string>& inputPaths);

}  // namespace rkplay
