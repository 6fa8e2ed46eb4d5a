#pragma once

namespace rkplay {

// rkplay preview: plays one clip through the clip source player. The arguments begin with the command's
// name. The exit status; throws UsageError.
int RunPreview(int argumentCount, char** arguments);

}  // namespace rkplay
