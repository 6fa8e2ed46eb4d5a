#include "rkplay/clips/ClipList.h"

#include <algorithm>

namespace rkplay {

std::optional<ULONGLONG> ClipList::AnnouncedFrames() const {
  if (IsEndless()) return std::nullopt;
  return static_cast<ULONGLONG>(frameCount) * static_cast<ULONGLONG>(repeatCount) - startFrame;
}

UINT ClipList::PositionAfter(const PlayedStretch& played) const {
  return static_cast<UINT>((played.start + played.frames) % frameCount);
}

const ClipList::FileElement* ClipList::FileAt(UINT position) const {
  const auto found = std::find_if(files.begin(), files.end(), [position](const FileElement& file) {
    return position >= file.timelineStart && position - file.timelineStart < file.frameCount;
  });
  return found == files.end() ? nullptr : &*found;
}

ClipList::ReadErrorCount ClipList::CountReadErrors(const std::vector<PlayedStretch>& played) const {
  ReadErrorCount count;
  for (const FileElement& file : files) {
    ULONGLONG frames = 0;
    for (const UINT offset : file.errors->Offsets()) {
      for (const PlayedStretch& stretch : played)
        frames += _TimesPlayed(file.timelineStart + offset, stretch);
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

// Of the list unrolled, the stretch is what lies from its start on.
ULONGLONG ClipList::_TimesPlayed(UINT position, const PlayedStretch& played) const {
  const ULONGLONG end = played.start + played.frames;
  const ULONGLONG rounds = position < end ? (end - position + frameCount - 1) / frameCount : 0;
  return rounds == 0 || position >= played.start ? rounds : rounds - 1;
}

}  // namespace rkplay
