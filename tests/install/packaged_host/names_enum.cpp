// A host whose names are no macros.
#define RK_NO_PLATFORM_CONSTANTS
#include "module/RkClipPlay.h"

enum { FALSE, TRUE };
constexpr int INFINITE = -1;
static_assert(TRUE == 1 && FALSE == 0 && INFINITE == -1);
