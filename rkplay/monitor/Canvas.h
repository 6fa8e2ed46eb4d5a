#pragma once

#include <memory>
#include <string>

#include "rkplay/files/PicturePlanes.h"

struct SDL_Window;

namespace rkplay {

// Draws pictures of one format into a window, in their shape and centred, the rest black. The thread that
// made the window uses it.
class Canvas {
 public:
  virtual ~Canvas() = default;

  // Without planes: black. False when nothing could be drawn.
  virtual bool Draw(const PicturePlanes& picture) = 0;

  // By the machine's graphics processor; where it has none, by one conversion straight into the window's
  // memory. Null, and SDL_GetError says why, when the window cannot be drawn into.
  static std::unique_ptr<Canvas> Create(SDL_Window* window, const SRkVideoResolution& format);
};

// The width of a picture of the format when its pixels are square.
int WidthInSquarePixels(const SRkVideoResolution& format);

}  // namespace rkplay
