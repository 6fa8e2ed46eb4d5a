#pragma once

#include <algorithm>
#include <cstdio>
#include <string>

namespace rkplay {

// One line on the error output, whatever a file name in it may hold.
inline void PrintError(std::string line) {
  std::replace_if(
      line.begin(), line.end(), [](unsigned char letter) { return letter < ' '; }, '?');
  std::fprintf(stderr, "rkplay: %s\n", line.c_str());
}

}  // namespace rkplay
