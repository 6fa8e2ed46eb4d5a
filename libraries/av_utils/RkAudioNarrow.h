#pragma once

#include <cstddef>

#include "contracts/RkTypes.h"

// Rounds packed 24-bit samples to 16 bits, saturating. False, with nothing written, where the processor has
// no instructions that make this faster than the mix.
bool RkNarrow24To16(const BYTE* source, BYTE* target, size_t samples);
