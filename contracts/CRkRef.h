#pragma once

// The path that hosts know; the class is in base/.
#include "base/CRkRef.h"
