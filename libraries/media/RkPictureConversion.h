#pragma once

#include <string>

#include "contracts/RkMediaElement.h"
#include "libraries/media/RkPictureKind.h"

// Where a converted picture lies in the output: its size, and the place of its top left corner. A picture
// that is cropped is larger than the output, and the place is negative. Sizes and places are even, except
// for a size that equals the output's.
struct SRkPicturePlace {
  int width;
  int height;
  int x;
  int y;

  bool IsAllOf(const SRkVideoResolution& output) const {
    return width == output.width && height == output.height;
  }
};

// `fit` is an ERkFit. Pixels of an unknown shape are square, except where source and output have the same
// size: then they have the same shape too.
SRkPicturePlace RkPlacePicture(const SRkPictureKind& kind, const SRkVideoResolution& output, int fit);

// Whether the samples of the picture are those of the output already.
bool RkHasFormat(const SRkPictureKind& kind, const SRkVideoResolution& output);

// The filters that turn pictures of the kind into pictures of the place's size in the output's pixel
// format, range and matrix.
std::string RkConversionChain(const SRkPictureKind& kind, const SRkVideoResolution& output,
                              const SRkPicturePlace& place);
