#pragma once

#include <optional>
#include <string>
#include <vector>

#include "contracts/CRkRef.h"
#include "contracts/RkClipCore.h"
#include "host/ReadErrors.h"

namespace rkplay {

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
  // The position that comes after `delivered` frames.
  UINT PositionAfter(ULONGLONG delivered) const;
  // The file that the frame at the position comes from; null for a pattern.
  const FileElement* FileAt(UINT position) const;
  // How many of the frames delivered so far stood in for one that could not be read.
  ReadErrorCount CountReadErrors(ULONGLONG delivered) const;
  // Lets go of the elements.
  void Free();

 private:
  ULONGLONG _TimesDelivered(UINT position, ULONGLONG delivered) const;
};

}  // namespace rkplay
