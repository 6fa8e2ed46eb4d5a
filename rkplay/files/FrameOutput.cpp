#include "rkplay/files/FrameOutput.h"

#include <filesystem>

#include "rkplay/cli/UsageError.h"

namespace rkplay {
namespace {

namespace fs = std::filesystem;

// Whether writing one would destroy the other. Devices and pipes may be named as often as one likes.
bool IsSameFile(const std::string& one, const std::string& other) {
  std::error_code error;
  if (fs::exists(one, error) && !fs::is_regular_file(one, error)) return false;
  if (fs::equivalent(one, other, error)) return true;
  return fs::weakly_canonical(fs::absolute(one), error) == fs::weakly_canonical(fs::absolute(other), error);
}

}  // namespace

FrameOutput::FrameOutput(const Options& options, const SRkClipFormat& format) {
  if (!options.audioPath.empty() && format.audio.channels <= 0) {
    throw UsageError(options.audioPath + ": no clip has sound (--audio-channels writes silence)");
  }
  if (!options.videoPath.empty()) m_video.emplace(options.videoPath, format.video);
  if (!options.audioPath.empty()) m_audio.emplace(options.audioPath, format.audio);
}

bool FrameOutput::Write(IRkAVPlaySample& sample) {
  return (!m_video || m_video->Write(sample)) && (!m_audio || m_audio->Write(sample));
}

void FrameOutput::Close(std::vector<std::string>& errors) {
  if (m_video && !m_video->Close()) errors.push_back(m_video->Error());
  if (m_audio && !m_audio->Close()) errors.push_back(m_audio->Error());
}

void RefuseOverwriting(const Options& options, const std::vector<std::string>& inputPaths) {
  std::vector<std::string> outputs;
  const std::string soundPath = options.monitor ? options.monitor->soundPath : "";
  for (const std::string& path :
       {options.videoPath, options.audioPath, soundPath, options.logPath, options.statsPath}) {
    if (path.empty()) continue;
    for (const std::string& input : inputPaths) {
      if (IsSameFile(path, input)) throw UsageError(path + ": is played and cannot be written");
    }
    for (const std::string& output : outputs) {
      if (IsSameFile(path, output)) throw UsageError(path + ": is to be written twice");
    }
    outputs.push_back(path);
  }
}

}  // namespace rkplay
