#include <gtest/gtest.h>

#include <vector>

#include "contracts/kernel/kernel/CRkAudioRing.h"

namespace {

constexpr DWORD kSpan = 40;
constexpr BYTE kSilence = 0x80;

// Byte n of the stream, never silent.
BYTE At(ULONGLONG position) {
  return static_cast<BYTE>(1 + position % 127);
}

void Write(CRkAudioRing& ring, ULONGLONG begin, DWORD bytes) {
  std::vector<BYTE> data(bytes);
  for (DWORD i = 0; i < bytes; ++i) data[i] = At(begin + i);
  ring.Write(data.data(), bytes, begin);
}

// What is read next, as stream positions; -1 for silence, -2 for a byte that belongs elsewhere.
std::vector<int> Read(CRkAudioRing& ring, DWORD bytes) {
  std::vector<int> positions;
  std::vector<BYTE> data(bytes);
  const int begin = static_cast<int>(ring.ReadPosition());
  ring.Read(data.data(), bytes);
  for (DWORD i = 0; i < bytes; ++i) {
    const int position = begin + static_cast<int>(i);
    positions.push_back(data[i] == kSilence ? -1 : data[i] == At(position) ? position : -2);
  }
  return positions;
}

std::vector<int> Range(int begin, int end) {
  std::vector<int> range;
  for (; begin < end; ++begin) range.push_back(begin);
  return range;
}

std::vector<int> operator+(std::vector<int> first, const std::vector<int>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

const auto Silent = [](size_t count) { return std::vector<int>(count, -1); };

TEST(audio_renderer_ring, gives_back_every_byte_over_many_wraps) {
  CRkAudioRing ring(kSpan, kSilence);
  ULONGLONG written = 0;
  int read = 0;
  // Steps that share no divisor with the span: every way to straddle its end comes up.
  while (read < 100 * static_cast<int>(kSpan)) {
    for (; written + 11 <= static_cast<ULONGLONG>(read) + kSpan; written += 11) Write(ring, written, 11);
    ASSERT_EQ(Read(ring, 7), Range(read, read + 7));
    read += 7;
  }
  EXPECT_EQ(ring.WrittenEnd(), written);
  EXPECT_EQ(ring.Rest(), written - read);
}

TEST(audio_renderer_ring, skips_what_comes_late_and_cuts_what_comes_early) {
  CRkAudioRing ring(kSpan, kSilence);
  EXPECT_EQ(Read(ring, 10), Silent(10));
  Write(ring, 0, 8);  // wholly late
  EXPECT_EQ(ring.WrittenEnd(), 0u);
  Write(ring, 6, 8);  // its first four bytes are late
  EXPECT_EQ(Read(ring, 6), Range(10, 14) + Silent(2));
  Write(ring, 50, 20);  // fits up to 16 + 40
  Write(ring, 56, 4);   // wholly early
  Write(ring, ~ULONGLONG{0} - 2, 8);
  EXPECT_EQ(ring.WrittenEnd(), 56u);
  EXPECT_EQ(Read(ring, 44), Silent(34) + Range(50, 56) + Silent(4));
}

TEST(audio_renderer_ring, leaves_silence_behind_what_was_read_and_where_nothing_was_written) {
  CRkAudioRing ring(kSpan, kSilence);
  Write(ring, 20, 10);
  Write(ring, 0, 10);  // an earlier stretch takes nothing from the furthest
  EXPECT_EQ(ring.WrittenEnd(), 30u);
  EXPECT_EQ(Read(ring, kSpan), Range(0, 10) + Silent(10) + Range(20, 30) + Silent(10));
  EXPECT_EQ(Read(ring, kSpan), Silent(kSpan));
  Write(ring, 80, kSpan);
  EXPECT_EQ(Read(ring, 3 * kSpan), Range(80, 120) + Silent(2 * kSpan));  // more at once than it spans
  Write(ring, 200, 20);
  ring.Read(nullptr, 15);
  EXPECT_EQ(Read(ring, 10), Range(215, 220) + Silent(5));
  Write(ring, 225, kSpan);
  ring.Reset();
  EXPECT_EQ(Read(ring, kSpan), Silent(kSpan));
}

}  // namespace
