#include "rkplay/cli/Messages.h"

#include <cstdint>
#include <cstdio>

extern "C" {
#include <libavutil/avstring.h>
}

namespace rkplay {

std::string Printable(std::string_view text) {
  std::string printable;
  const auto* at = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto* const end = at + text.size();
  while (at < end) {
    const auto* const begin = at;
    std::int32_t code = 0;
    const bool isText = av_utf8_decode(&code, &at, end, 0) >= 0;
    if (isText && code >= ' ' && (code < 0x7F || code >= 0xA0)) {
      printable.append(begin, at);
    } else {
      printable += '?';
    }
  }
  return printable;
}

std::string_view CutToBytes(std::string_view text, size_t bytes) {
  if (text.size() <= bytes) return text;
  while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
  return text.substr(0, bytes);
}

void PrintError(const std::string& line) {
  std::fprintf(stderr, "rkplay: %s\n", Printable(line).c_str());
}

}  // namespace rkplay
