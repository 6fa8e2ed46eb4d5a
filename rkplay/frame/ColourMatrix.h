#pragma once

#include "rkplay/clips/ClipLoader.h"

namespace rkplay {

// How the planes of a clip's pictures make up red, green and blue: an AVColorSpace. As the file states it;
// else by custom BT.709 from 720 rows on, and BT.601 below. Throws UsageError when the clip, which is the
// programme's only one, has no pictures.
int ColourMatrixOf(const Programme& programme);

}  // namespace rkplay
