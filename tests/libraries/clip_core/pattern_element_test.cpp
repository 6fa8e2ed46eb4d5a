#include <algorithm>
#include <cmath>

#include "base/CRkHeapPlayBuffer.h"
#include "contracts/RkPictureLayout.h"
#include "libraries/clip_core/RkPatternNumber.h"
#include "tests/libraries/clip_core/ClipCoreTest.h"
#include "tests/support/RkLevel.h"

namespace {

// Reads the number as a viewer does, by comparing bright dots; -1 when a digit is none of the ten.
LONGLONG ReadNumber(const Sample& sample, const SRkVideoResolution& video) {
  const BYTE* const luma = RowsOf(*sample, 0);
  const int stride = RkPlaneLayout(video, 0).stride;
  const SRkPatternNumberPlace place = RkPlacePatternNumber(video.width, video.height);
  LONGLONG number = 0;
  for (int index = 0; index < place.digits; ++index) {
    UINT dots = 0;
    for (int dot = 0; dot < kRkDigitWidth * kRkDigitHeight; ++dot) {
      const int x = place.x + (index * kRkDigitPitch + dot % kRkDigitWidth) * place.dot + place.dot / 2;
      const int y = place.y + dot / kRkDigitWidth * place.dot + place.dot / 2;
      dots = dots * 2 + (luma[y * stride + x] > 128 ? 1 : 0);
    }
    const int digit = static_cast<int>(std::find(kRkDigitDots, kRkDigitDots + 10, dots) - kRkDigitDots);
    if (digit == 10) return -1;
    number = number * 10 + digit;
  }
  return number;
}

// The sound of elements that follow one another on a timeline.
std::vector<BYTE> SoundOfElements(const std::vector<UINT>& frameCounts, const SRkClipFormat& format) {
  std::vector<BYTE> sound;
  UINT start = 0;
  for (const UINT frames : frameCounts) {
    const auto element = MakePattern(frames);
    element->SetTimelineStart(std::exchange(start, start + frames));
    EXPECT_TRUE(element->Open(nullptr, 0, &format));
    for (Sample sample; element->ReadNextSample(sample.Out());) {
      const auto part = SoundOf(*sample);
      sound.insert(sound.end(), part.begin(), part.end());
    }
  }
  return sound;
}

// Gives buffers of one size, even when they are too small.
struct COneSizePool final : CFake<IRkPlayBufferPool> {
  explicit COneSizePool(UINT bytes) : bytes(bytes) {}
  BOOL GetBuffer(UINT, IRkPlayBuffer** buffer) override { return CRkHeapPlayBuffer::Create(bytes, buffer); }
  const UINT bytes;
};

TEST(pattern_element, burns_the_timeline_position_into_pictures_of_every_kind) {
  for (const int pixelFormat : {RkPixelFormat_I420, RkPixelFormat_I422, RkPixelFormat_I444}) {
    for (const auto& [width, height] : {std::pair{16, 16}, {720, 576}, {333, 251}, {2000, 16}, {16, 900}}) {
      const SRkClipFormat format = MakeFormat(width, height, pixelFormat);
      const auto element = MakePattern(3);
      for (const UINT start : {0u, 1234567890u, 4294967290u}) {
        element->SetTimelineStart(start);
        ASSERT_TRUE(element->Open(nullptr, 0, &format));
        Sample sample;
        ASSERT_TRUE(element->ReadSampleAt(2, sample.Out()));
        EXPECT_EQ(sample->GetPosition(), start + 2);
        const int digits = RkPlacePatternNumber(width, height).digits;
        EXPECT_GE(digits, 4);
        EXPECT_EQ(ReadNumber(sample, format.video),
                  (start + 2LL) % static_cast<LONGLONG>(std::pow(10, digits)))
            << width << 'x' << height;
      }
    }
  }
}

TEST(pattern_element, draws_75_percent_bars_in_the_colours_of_its_size) {
  constexpr int kStandard[][3] = {{180, 128, 128}, {162, 44, 142}, {131, 156, 44}, {112, 72, 58},
                                  {84, 184, 198},  {65, 100, 212}, {35, 212, 114}, {16, 128, 128}};
  constexpr int kHigh[][3] = {{180, 128, 128}, {168, 44, 136}, {145, 147, 44}, {133, 63, 52},
                              {63, 193, 204},  {51, 109, 212}, {28, 212, 120}, {16, 128, 128}};
  for (const auto& [height, bars] : {std::pair{576, kStandard}, {1080, kHigh}}) {
    const SRkClipFormat format = MakeFormat(16, height, RkPixelFormat_I444);
    const auto element = MakePattern(1);
    Sample sample;
    ASSERT_TRUE(element->Open(nullptr, 0, &format) && element->ReadNextSample(sample.Out()));
    for (UINT plane = 0; plane < 3; ++plane) {
      const BYTE* const row = RowsOf(*sample, plane);
      for (int bar = 0; bar < 8; ++bar) EXPECT_NEAR(row[2 * bar], bars[bar][plane], 1);
    }
  }
}

TEST(pattern_element, refuses_formats_it_cannot_make_but_not_one_without_channels) {
  const auto element = MakePattern(1);
  const SRkClipFormat good = MakeFormat(16, 16, RkPixelFormat_I444, RkFrameRate_60, 32);
  ASSERT_TRUE(element->Open(nullptr, 0, &good));
  Sample sample;
  for (const SRkClipFormat& bad :
       {MakeFormat(15, 16, 0), MakeFormat(16, 15, 0), MakeFormat(-16, 16, 0), MakeFormat(0x7FFFFFFF, 16, 0),
        MakeFormat(16, 16, 3), MakeFormat(16, 16, -1), MakeFormat(16, 16, 0, 8), MakeFormat(16, 16, 0, -1),
        MakeFormat(16, 16, 0, 0, 20), MakeFormat(16, 16, 0, 0, 0), MakeFormat(16, 16, 0, 0, 32, 20000)}) {
    EXPECT_FALSE(element->Open(nullptr, 0, &bad));
    EXPECT_FALSE(element->ReadNextSample(sample.Out()));
  }

  const SRkClipFormat silent = MakeFormat(16, 16, RkPixelFormat_I420, RkFrameRate_25, 0, 0);
  ASSERT_TRUE(element->Open(nullptr, 0, &silent) && element->ReadNextSample(sample.Out()));
  EXPECT_TRUE(SoundOf(*sample).empty());
  EXPECT_EQ(RkCreatePatternClipElement(0, Element().Out()), 0);
}

TEST(pattern_element, sounds_without_a_seam_from_element_to_element) {
  for (const int bits : {8, 16, 24, 32}) {
    const SRkClipFormat format = MakeFormat(16, 16, RkPixelFormat_I420, RkFrameRate_29_97, bits, 3);
    const std::vector<BYTE> sound = SoundOfElements({1, 7, 40, 4}, format);
    EXPECT_EQ(sound, SoundOfElements({52}, format));
    ASSERT_EQ(sound.size(), size_t{52} * 48000 * 1001 / 30000 * format.audio.blockAlign);
    for (size_t index = 0; index < sound.size() / format.audio.blockAlign; ++index) {
      const double wave = 0.12589 * std::sin(2 * 3.14159265358979 * (index % 48) / 48);
      for (size_t channel = 0; channel < 3; ++channel)
        ASSERT_NEAR(LevelOf(&sound[(index * 3 + channel) * bits / 8], bits), wave,
                    bits == 8 ? 1.0 / 128 : 1e-4);
    }
  }
}

TEST(pattern_element, draws_into_its_own_memory_where_the_pools_is_too_small) {
  const SRkClipFormat format = MakeFormat(64, 64, RkPixelFormat_I420);
  const auto element = MakePattern(2);
  Sample sample;
  for (const auto& [given, used] : {std::pair{4097u, 4097u}, {4095u, 4096u}}) {
    const auto pool = MakeFake<COneSizePool>(given);
    ASSERT_TRUE(element->Open(pool.Get(), 0, &format) && element->ReadNextSample(sample.Out()));
    EXPECT_EQ(static_cast<IRkPlayBuffer*>(PlaneOf(*VideoOf(*sample), 0).Get())->GetCapacity(), used);
    element->Close();
    EXPECT_EQ(References(*pool), 1u) << "a closed element holds no pool";
  }
}

}  // namespace
