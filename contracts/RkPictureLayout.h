#pragma once

#include "contracts/RkMediaRecords.h"

// How a picture of a video format lies in the buffers of a video sample: one buffer a plane, Y, U and V
// in the buffers 0, 1 and 2, top row first, 8 bits a pixel.
struct SRkPlaneLayout {
  int width;   // bytes of a row that hold pixels
  int height;  // rows
  int stride;  // bytes from one row to the next

  constexpr UINT Bytes() const { return static_cast<UINT>(stride) * static_cast<UINT>(height); }
};

// Pictures that do not say otherwise have the colours of ITU-R BT.709 from 720 rows on, of BT.601 below.
constexpr bool RkHasHdColours(int height) {
  return height >= 720;
}

inline constexpr UINT kRkPlaneCount = 3;

constexpr SRkPlaneLayout RkPlaneLayout(const SRkVideoResolution& video, UINT plane) {
  const bool halfWidth = plane != 0 && video.pixelFormat != RkPixelFormat_I444;
  const bool halfHeight = plane != 0 && video.pixelFormat == RkPixelFormat_I420;
  const int width = halfWidth ? (video.width + 1) / 2 : video.width;
  const int height = halfHeight ? (video.height + 1) / 2 : video.height;
  // Rows begin on 64 bytes, which the fast paths of picture scalers want.
  return {width, height, (width + 63) / 64 * 64};
}
