#include "rkplay/files/FrameOutput.h"

#include <filesystem>

#include "rkplay/cli/Messages.h"

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

FrameOutput::FrameOutput(const std::string& videoPath, const std::string& audioPath,
                         const SRkClipFormat& format) {
  if (!audioPath.empty() && format.audio.channels <= 0) {
    throw UsageError(audioPath + ": no clip has sound (--audio-channels writes silence)");
  }
  if (!videoPath.empty()) m_video.emplace(videoPath, format.video);
  if (!audioPath.empty()) m_audio.emplace(audioPath, format.audio);
}

bool FrameOutput::Write(IRkAVPlaySample& sample) {
  return (!m_video || m_video->Write(sample)) && (!m_audio || m_audio->Write(sample));
}

void FrameOutput::Close(std::vector<std::string>& errors) {
  if (m_video && !m_video->Close()) errors.push_back(m_video->Error());
  if (m_audio && !m_audio->Close()) errors.push_back(m_audio->Error());
}

void RefuseOverwriting(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs) {
  for (size_t i = 0; i < outputs.size(); ++i) {
    if (outputs[i].empty()) continue;
    for (const std::string& input : inputs) {
      if (IsSameFile(outputs[i], input)) throw UsageError(outputs[i] + ": is played and cannot be written");
    }
    for (size_t other = 0; other < i; ++other) {
      if (!outputs[other].empty() && IsSameFile(outputs[i], outputs[other])) {
        throw UsageError(outputs[i] + ": two outputs cannot share one file");
      }
    }
  }
}

}  // namespace rkplay
