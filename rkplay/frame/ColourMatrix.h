#pragma once

#include "rkplay/clips/ClipLoader.h"

namespace rkplay {

// How the planes of a clip's pictures make up red, green and blue: an AVColorSpace. Delivered
// pictures are coded in BT.709 from 720 rows on, and in BT.601 below. Throws UsageError when the clip, which
// is the programme's only one, has no pictures.
int ColourMatrixOf(const Programme& programme);

}  // namespace rkplay
