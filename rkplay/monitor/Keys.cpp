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
      return within(last);
    default:
      return std::nullopt;
  }
}

}  // namespace rkplay
