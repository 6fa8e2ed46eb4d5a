// A host that has defined the names of the system before it includes the project.
#define TRUE (!FALSE)
#define FALSE (0)
#define INFINITE (-1)
#define WAIT_TIMEOUT 0x102L
#include "module/RkClipPlay.h"

static_assert(INFINITE == -1 && WAIT_TIMEOUT == 0x102L && WAIT_OBJECT_0 == 0);
