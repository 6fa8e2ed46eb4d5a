#include "host/Keys.h"

namespace rkplay {

const char kKeysHelp[] =
    "space pause and go on   left, right one frame   page up, down one second   home, end first and last\n"
    "t take the next list   r repeat on and off   q quit   ? this help";

}  // namespace rkplay
