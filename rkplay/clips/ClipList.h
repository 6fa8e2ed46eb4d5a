#pragma once

#include <optional>
#include <string>

#include "base/CRkRef.h"
#include "contracts/RkClipCore.h"

namespace rkplay {

// One list, ready to be cued.
struct ClipList {
  std::string title;
  CRkRef<IRkClipElementList> elements;
  UINT frameCount = 0;  // of one pass; kRkNoPosition when its last clip has no end
  int repeatCount = 1;
  UINT startFrame = 0;  // of the first pass

  bool IsEndless() const { return repeatCount == kRkRepeatEndless || HasLiveEnd(); }
  bool HasLiveEnd() const { return frameCount == kRkNoPosition; }

  // Frames that playing it whole delivers; nothing for an endless list.
  std::optional<ULONGLONG> AnnouncedFrames() const {
    if (IsEndless()) return std::nullopt;
    return static_cast<ULONGLONG>(frameCount) * static_cast<ULONGLONG>(repeatCount) - startFrame;
  }
  // The position of the frame that follows the one at `position`, from the end of a pass to the next.
  UINT PositionAfter(UINT position) const { return position + 1 < frameCount ? position + 1 : 0; }
};

}  // namespace rkplay
