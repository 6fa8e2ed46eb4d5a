#pragma once

namespace rkplay {

// rkplay frame: writes single frames of one clip as pictures. The arguments begin with the command's name.
// The exit status; throws UsageError, before anything was written.
int RunFrame(int argumentCount, char** arguments);

}  // namespace rkplay
