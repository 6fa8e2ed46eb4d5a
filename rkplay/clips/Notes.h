#pragma once

#include <string>
#include <utility>
#include <vector>

#include "contracts/RkMediaElement.h"

namespace rkplay {

// What the viewer should know about the clips although all of them play: each fact once, with the names of
// the clips it is about.
class Notes {
 public:
  void Add(const std::string& fact, const std::string& clip);
  // The facts about a file's pictures.
  void AddPictures(const SRkMediaDescription& file, const std::string& clip, int deinterlace);
  // Sound that outlasts the pictures, of a clip that is played to its end.
  void AddSoundExcess(const SRkMediaDescription& file, const std::string& clip, bool holdsPicture);

  // "FACT: CLIP, CLIP"
  std::vector<std::string> Lines() const;

 private:
  std::vector<std::pair<std::string, std::vector<std::string>>> m_facts;
};

}  // namespace rkplay
