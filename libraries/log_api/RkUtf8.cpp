#include "libraries/log_api/RkUtf8.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t code) {
  return code >= 0xD800 && code < 0xDC00;
}
bool IsLowSurrogate(char32_t code) {
  return code >= 0xDC00 && code < 0xE000;
}

// Takes one character off the text.
char32_t NextCharacter(const wchar_t*& text) {
  const auto code = static_cast<char32_t>(*text++);
  if constexpr (sizeof(wchar_t) == 2) {
    const auto low = static_cast<char32_t>(*text);
    if (IsHighSurrogate(code) && IsLowSurrogate(low)) {
      ++text;
      return 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
  }
  return code > 0x10FFFF || IsHighSurrogate(code) || IsLowSurrogate(code) ? kReplacement : code;
}

void Put(char32_t byte, std::FILE* file) {
  std::fputc(static_cast<int>(byte), file);
}

// The last `count` bytes of a character: six bits each.
void PutTail(char32_t code, int count, std::FILE* file) {
  while (count-- > 0) Put(0x80 | ((code >> (6 * count)) & 0x3F), file);
}

void PutCharacter(char32_t code, std::FILE* file) {
  const int tail = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  constexpr char32_t kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
  Put(kLead[tail] | (code >> (6 * tail)), file);
  PutTail(code, tail, file);
}

}  // namespace

void RkPutUtf8(const wchar_t* text, std::FILE* file) {
  while (*text != 0) PutCharacter(NextCharacter(text), file);
}
