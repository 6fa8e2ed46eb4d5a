#pragma once

#include <cstddef>

#include "contracts/RkMediaRecords.h"
#include "contracts/RkPictureLayout.h"
#include "rkplay/monitor/Keys.h"

namespace rkplay {

// Between the program and its window's process: a record that gives the pictures' format
// (SRkVideoResolution), then orders one way and reports the other, each record one packet of a socket.
// Pictures lie in shared memory, plane behind plane, in slots; the program writes the slot that the window
// does not show, and no other until the window has reported on it.

inline constexpr char kWindowCommand[] = "window-process";  // the program's first argument
inline constexpr int kWindowSocket = 3;                     // descriptors of the window's process
inline constexpr int kWindowMemory = 4;

inline constexpr UINT kWindowSlots = 2;
inline constexpr UINT kNoSlot = kWindowSlots;  // black

inline constexpr size_t kLongestText = 255;  // bytes

struct WindowOrder {
  enum class Kind { Picture, Title };
  Kind kind;
  UINT slot;
  char title[kLongestText + 1];
};

struct WindowReport {
  enum class Kind { Opened, Failed, Drawn, NotDrawn, Pressed };
  Kind kind;
  Key key;
  char reason[kLongestText + 1];
};

inline size_t SlotBytes(const SRkVideoResolution& format) {
  size_t bytes = 0;
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) bytes += RkPlaneLayout(format, plane).Bytes();
  return bytes;
}

}  // namespace rkplay
