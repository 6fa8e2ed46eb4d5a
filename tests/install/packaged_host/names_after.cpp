// A host that defines the names of the system after it has included the project.
#include "module/RkClipPlay.h"

static_assert(TRUE == 1 && FALSE == 0 && INFINITE == 0xFFFFFFFF);
#define TRUE (!FALSE)
#define FALSE (0)
#define INFINITE (-1)
#define WAIT_TIMEOUT 0x102L
static_assert(INFINITE == -1 && WAIT_TIMEOUT == 0x102L);
