#pragma once

#include <algorithm>

#include "contracts/RkTypes.h"

// Place and shape of the number in a picture of the pattern: decimal, with leading zeros. A picture that is
// too narrow for all ten digits shows the low ones.

inline constexpr int kRkDigitWidth = 3;
inline constexpr int kRkDigitHeight = 5;
inline constexpr int kRkDigitPitch = kRkDigitWidth + 1;

// Three bits a row; the top row and the left dot are the highest bits.
inline constexpr WORD kRkDigitDots[10] = {
    0b111'101'101'101'111, 0b010'110'010'010'111, 0b111'001'111'100'111, 0b111'001'111'001'111,
    0b101'101'111'001'001, 0b111'100'111'001'111, 0b111'100'111'101'111, 0b111'001'010'010'010,
    0b111'101'111'101'111, 0b111'101'111'001'111,
};

constexpr bool RkIsDigitDot(UINT digit, int row, int column) {
  const int bit = (kRkDigitHeight - row) * kRkDigitWidth - column - 1;
  return (kRkDigitDots[digit] >> bit & 1) != 0;
}

// In pixels, from the top left of the first digit.
struct SRkPatternNumberPlace {
  int x;
  int y;
  int dot;  // edge of one dot of a digit
  int digits;

  constexpr int Width() const { return (digits * kRkDigitPitch - 1) * dot; }
  constexpr int Height() const { return kRkDigitHeight * dot; }
};

constexpr SRkPatternNumberPlace RkPlacePatternNumber(int width, int height) {
  const int dot = std::max(1, std::min(width / 64, height / 8));
  const int digits = std::min(10, (width + dot) / (kRkDigitPitch * dot));
  const SRkPatternNumberPlace place = {0, 0, dot, digits};
  return {(width - place.Width()) / 2, height * 5 / 8 - place.Height() / 2, dot, digits};
}
