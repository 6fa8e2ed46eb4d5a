#include "rkplay/clips/Notes.h"

#include <algorithm>
#include <cstdio>

namespace rkplay {
namespace {

constexpr size_t kNamesOfALine = 8;

}  // namespace

void Notes::Add(const std::string& fact, const std::string& clip) {
  auto found = std::find_if(m_facts.begin(), m_facts.end(),
                            [&fact](const auto& known) { return known.first == fact; });
  if (found == m_facts.end()) found = m_facts.insert(found, {fact, {}});
  std::vector<std::string>& clips = found->second;
  if (std::find(clips.begin(), clips.end(), clip) == clips.end()) clips.push_back(clip);
}

void Notes::AddPictures(const SRkMediaDescription& file, const std::string& clip, int deinterlace) {
  if (!file.hasVideo) return;
  if (file.isHighDynamicRange) {
    Add("high dynamic range tone-mapped to BT.709", clip);
  } else if (file.pictureBits > 8) {
    Add(std::to_string(file.pictureBits) + "-bit pictures dithered to 8", clip);
  }
  if (!file.isInterlaced) return;
  Add(deinterlace == RkDeinterlace_Off ? "interlaced pictures not deinterlaced"
                                       : "interlaced pictures deinterlaced",
      clip);
}

void Notes::AddSoundExcess(const SRkMediaDescription& file, const std::string& clip, bool holdsPicture) {
  // Coded sound ends in whole blocks, so a little more of it is no news.
  constexpr LONGLONG kBlockMs = 100;
  if (file.soundExcessMs <= kBlockMs) return;
  char seconds[32];
  std::snprintf(seconds, sizeof(seconds), " (%.1f s)", static_cast<double>(file.soundExcessMs) / 1000);
  Add(holdsPicture ? "sound outlasts the pictures and is played under the last one"
                   : "sound outlasts the pictures and is cut (--hold-picture plays it)",
      clip + seconds);
}

std::vector<std::string> Notes::Lines() const {
  std::vector<std::string> lines;
  for (const auto& [fact, clips] : m_facts) {
    std::string line = fact;
    for (size_t i = 0; i < std::min(clips.size(), kNamesOfALine); ++i)
      line += (i == 0 ? ": " : ", ") + clips[i];
    if (clips.size() > kNamesOfALine)
      line += " and " + std::to_string(clips.size() - kNamesOfALine) + " more";
    lines.push_back(line);
  }
  return lines;
}

}  // namespace rkplay
