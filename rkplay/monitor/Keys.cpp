#include "rkplay/monitor/Keys.h"

#include <algorithm>
#include <cmath>

#include "contracts/RkMediaRecords.h"

namespace rkplay {

#define RK_MOVING_KEYS \
  "space pause and go on   left, right one frame   page up, down one second   home, end first and last\n"

const char kPlayKeysHelp[] =
    RK_MOVING_KEYS "t take the next list   r repeat on and off   q quit   ? this help";
const char kPreviewKeysHelp[] = RK_MOVING_KEYS "r repeat on and off   q quit   ? this help";

namespace {

// Where a key that moves leads, within the frames there are; nothing for other keys, and for the last frame
// of what has none.
std::optional<UINT> MovedBy(Key key, UINT position, UINT frameCount, int frameRate) {
  const long long second = std::lround(RkFramesPerSecond(frameRate));
  const long long last = static_cast<long long>(frameCount) - 1;
  const auto within = [last](long long moved) { return static_cast<UINT>(std::clamp(moved, 0ll, last)); };
  switch (key) {
    case Key::FrameBack:
      return within(position - 1ll);
    case Key::FrameForward:
      return within(position + 1ll);
    case Key::SecondBack:
      return within(position - second);
    case Key::SecondForward:
      return within(position + second);
    case Key::First:
      return 0;
    case Key::Last:
      if (frameCount == kRkNoPosition) return std::nullopt;
      return within(last);
    default:
      return std::nullopt;
  }
}

void Apply(Key key, KeyWish& wish) {
  switch (key) {
    case Key::Help:
      wish.wantsHelp = true;
      break;
    case Key::Pause:
      wish.isPaused = !wish.isPaused;
      break;
    case Key::FrameBack:
    case Key::FrameForward:
      wish.isPaused = true;  // single frames are for looking at
      break;
    case Key::Take:
      wish.takes = true;
      break;
    case Key::TakeWhenDue:
      ++wish.takesWhenDue;
      break;
    case Key::Repeat:
      wish.togglesRepeat = !wish.togglesRepeat;
      break;
    case Key::Quit:
      wish.quits = true;
      break;
    default:
      break;
  }
}

}  // namespace

KeyWish TakeWish(KeyQueue& keys, UINT position, bool isPaused, UINT frameCount, int frameRate) {
  KeyWish wish{position, isPaused};
  while (const auto key = keys.Take()) {
    Apply(*key, wish);
    const auto moved = MovedBy(*key, wish.position, frameCount, frameRate);
    if (!moved) continue;
    wish.position = *moved;
    wish.moves = true;
  }
  return wish;
}

}  // namespace rkplay
