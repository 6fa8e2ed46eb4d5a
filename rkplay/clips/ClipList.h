#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/CRkRef.h"
#include "contracts/RkClipCore.h"
#include "rkplay/clips/ReadErrors.h"

namespace rkplay {

// Frames that went on air one after the other, the list going round.
struct PlayedStretch {
  UINT start;
  ULONGLONG frames;
};

// One list, ready to be cued.
struct ClipList {
  struct FileElement {
    std::string path;
    UINT timelineStart;
    UINT frameCount;
    CRkRef<ReadErrors> errors;
  };
  struct ReadErrorCount {
    ULONGLONG frames = 0;
    std::string first;  // file and reason
  };

  std::string title;
  CRkRef<IRkClipElementList> elements;
  std::vector<FileElement> files;
  UINT frameCount = 0;  // of one pass
  int repeatCount = 1;
  UINT startFrame = 0;  // of the first pass

  bool IsEndless() const { return repeatCount == kRkRepeatEndless; }
  // Frames that playing it whole delivers; nothing for an endless list.
  std::optional<ULONGLONG> AnnouncedFrames() const;
  // The position that comes after the stretch.
  UINT PositionAfter(const PlayedStretch& played) const;
  // The file that the frame at the position comes from; null for a pattern.
  const FileElement* FileAt(UINT position) const;
  // How many of the frames played stood in for one that could not be read.
  ReadErrorCount CountReadErrors(const std::vector<PlayedStretch>& played) const;
  // Lets go of the elements.
  void Free();

 private:
  ULONGLONG _TimesPlayed(UINT position, const PlayedStretch& played) const;
};

}  // namespace rkplay
