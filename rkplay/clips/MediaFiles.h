#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/CRkRef.h"
#include "contracts/RkMediaElement.h"

namespace rkplay {

// The media files of one command. Each is examined once, however often it is named. Used on one thread;
// Examine starts others and waits for them.
class MediaFiles {
 public:
  struct Entry {
    CRkRef<IRkMediaFile> file;  // null: it cannot be played
    SRkMediaDescription description{};
    std::string refusal;  // why not
  };

  // Examines the files on all processors. Shows how far it is on the error output once that takes a second.
  void Examine(const std::vector<std::string>& paths, const SRkMediaOptions& options);

  // Of a file that has been examined.
  const Entry& Of(const std::string& path) const { return m_entries.at(path); }

 private:
  std::map<std::string, Entry> m_entries;  // by path
};

}  // namespace rkplay
