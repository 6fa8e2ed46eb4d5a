#include "host/ClipList.h"

#include <algorithm>

namespace rkplay {

std::optional<ULONGLONG> ClipList::AnnouncedFrames() const {
  if (IsEndless()) return std::nullopt;
  return static_cast<ULONGLONG>(frameCount) * static_cast<ULONGLONG>(repeatCount) - startFrame;
}

UINT ClipList::PositionAfter(ULONGLONG delivered) const {
  return static_cast<UINT>((startFrame + delivered) % frameCount);
}

const ClipList::FileElement* ClipList::FileAt(UINT position) const {
  const auto found = std::find_if(files.begin(), files.end(), [position](const FileElement& file) {
    return position >= file.timelineStart && position - file.timelineStart < file.frameCount;
  });
  return found == files.end() ? nullptr : &*found;
}

ClipList::ReadErrorCount ClipList::CountReadErrors(ULONGLONG delivered) const {
  ReadErrorCount count;
  for (const FileElement& file : files) {
    ULONGLONG frames = 0;
    for (const UINT offset : file.errors->Offsets()) {
      frames += _TimesDelivered(file.timelineStart + offset, delivered);
    }
    if (frames != 0 && count.frames == 0) count.first = file.path + ": " + file.errors->FirstReason();
    count.frames += frames;
  }
  return count;
}

void ClipList::Free() {
  elements.Reset();
  files.clear();
}

// The list goes round; the frames on air are those from startFrame on, unrolled.
ULONGLONG ClipList::_TimesDelivered(UINT position, ULONGLONG delivered) const {
  const ULONGLONG end = startFrame + delivered;
  const ULONGLONG rounds = position < end ? (end - position + frameCount - 1) / frameCount : 0;
  return rounds == 0 || position >= startFrame ? rounds : rounds - 1;
}

}  // namespace rkplay
