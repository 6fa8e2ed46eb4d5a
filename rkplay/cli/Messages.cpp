#include "rkplay/cli/Messages.h"

#include <cstdio>

namespace rkplay {

// Control characters are those below space, DEL, and U+0080 to U+009F, which UTF-8 writes as C2 80 to C2 9F.
std::string Printable(const std::string& text) {
  std::string printable;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto letter = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    const bool isWideControl = letter == 0xC2 && next >= 0x80 && next < 0xA0;
    printable += letter < ' ' || letter == 0x7F || isWideControl ? '?' : text[i];
    if (isWideControl) ++i;
  }
  return printable;
}

void PrintError(const std::string& line) {
  std::fprintf(stderr, "rkplay: %s\n", Printable(line).c_str());
}

}  // namespace rkplay
