#pragma once

namespace rkplay {

// Each runs one command, whose name is the first argument, and returns its exit status. They throw
// UsageError before anything was played or written.

int RunPlay(int argumentCount, char** arguments);
// Plays one clip through the clip source player.
int RunPreview(int argumentCount, char** arguments);
// Writes single frames of one clip as pictures.
int RunFrame(int argumentCount, char** arguments);

}  // namespace rkplay
