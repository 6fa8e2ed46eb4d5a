#pragma once

#include <cstring>

#include "contracts/RkTypes.h"

// A sample of 8 to 32 bits, from -1 to 1.
inline double LevelOf(const BYTE* data, int bits) {
  if (bits == 8) return (*data - 128) / 128.0;
  int value = 0;
  std::memcpy(reinterpret_cast<BYTE*>(&value) + 4 - bits / 8, data, static_cast<size_t>(bits / 8));
  return value / 2147483648.0;
}
