#pragma once

// Wide text (UTF-16 or UTF-32, as wide as the system's wchar_t) as UTF-8, one character at a time. What is
// no character becomes U+FFFD.

// The bytes of one character.
struct SRkUtf8Character {
  char bytes[4];
  int count;
};

// Takes one character off the text, which must not be at its end.
constexpr char32_t RkNextCharacter(const wchar_t*& text) {
  constexpr char32_t kReplacement = 0xFFFD;
  const auto isHigh = [](char32_t code) { return code >= 0xD800 && code < 0xDC00; };
  const auto isLow = [](char32_t code) { return code >= 0xDC00 && code < 0xE000; };
  const auto code = static_cast<char32_t>(*text++);
  if constexpr (sizeof(wchar_t) == 2) {
    const auto low = static_cast<char32_t>(*text);
    if (isHigh(code) && isLow(low)) {
      ++text;
      return 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
  }
  return code > 0x10FFFF || isHigh(code) || isLow(code) ? kReplacement : code;
}

constexpr SRkUtf8Character RkUtf8(char32_t code) {
  constexpr unsigned kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
  const int tail = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  SRkUtf8Character character = {{static_cast<char>(kLead[tail] | code >> 6 * tail)}, tail + 1};
  for (int i = 1; i <= tail; ++i)
    character.bytes[i] = static_cast<char>(0x80 | (code >> 6 * (tail - i) & 0x3F));
  return character;
}
