#include <map>

#include "contracts/kernel/CRkHeapPlayBuffer.h"
#include "tests/media/MediaTest.h"

namespace {

using CElementTest = CMediaTest;

// Lends the same buffers again and again, and counts what it had to make.
class CReusingPool : public CFake<IRkPlayBufferPool> {
 public:
  BOOL GetBuffer(UINT bytes, IRkPlayBuffer** buffer) override {
    for (auto& [size, kept] : m_buffers) {
      if (size != bytes || !IsFree(kept)) continue;
      kept.CopyTo(buffer);
      return TRUE;
    }
    CRkRef<IRkPlayBuffer> made;
    if (!CRkHeapPlayBuffer::Create(bytes, made.Out())) return FALSE;
    m_buffers.emplace(bytes, made);
    made.CopyTo(buffer);
    return TRUE;
  }
  size_t Made() const { return m_buffers.size(); }
  bool AllFree() {
    for (auto& [size, kept] : m_buffers) {
      if (!IsFree(kept)) return false;
    }
    return true;
  }

 private:
  static bool IsFree(const CRkRef<IRkPlayBuffer>& buffer) {
    buffer->AddRef();
    return buffer->Release() == 1;
  }
  std::multimap<UINT, CRkRef<IRkPlayBuffer>> m_buffers;
};

constexpr const char* kShort =
    "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -f lavfi -i anoisesrc=seed=1:r=48000:d=1 ";

TEST_F(CElementTest, only_formats_of_its_rate_that_make_sense_open_it) {
  const std::string path = Make("rate.mp4", kShort + std::string("-c:v libx264 -c:a aac"));
  const SRkClipFormat good = Describe(path).format;
  const auto element = Create(path, RkFrameRate_50);
  EXPECT_EQ(element->GetFrameCount(), 50u);
  CRkRef<IRkAVPlaySample> sample;
  EXPECT_FALSE(element->ReadNextSample(sample.Out()));
  EXPECT_FALSE(element->Open(nullptr, 0, nullptr));
  SRkClipFormat as = good;
  EXPECT_FALSE(element->Open(nullptr, 0, &as));
  as.video.frameRate = RkFrameRate_50;
  EXPECT_TRUE(element->Open(nullptr, 0, &as));
  as.audio.bitsPerSample = 12;
  EXPECT_FALSE(element->Open(nullptr, 0, &as));
  EXPECT_FALSE(element->ReadNextSample(sample.Out()));
  as.audio = good.audio;
  as.video.width = 0;
  EXPECT_FALSE(element->Open(nullptr, 0, &as));
  as.video.width = 64;
  as.video.pixelFormat = 3;
  EXPECT_FALSE(element->Open(nullptr, 0, &as));
  std::string reason;
  CRkRef<IRkClipElement> none;
  EXPECT_FALSE(RkCreateMediaClipElement(path.c_str(), 8, nullptr, none.Out(), reason));
  EXPECT_FALSE(reason.empty());
}

TEST_F(CElementTest, a_description_names_the_format_that_needs_no_conversion) {
  const std::string path =
      Make("described.mov",
           "-f lavfi -i testsrc2=s=160x120:r=60000/1001:d=1 -f lavfi "
           "-i anoisesrc=seed=1:r=44100:d=1 -vf setsar=12/11 -c:v prores -c:a pcm_s24le -ac 2");
  const SRkMediaDescription description = Describe(path);
  const SRkVideoResolution& video = description.format.video;
  EXPECT_EQ(video.width, 160);
  EXPECT_EQ(video.height, 120);
  EXPECT_EQ(video.frameRate, RkFrameRate_59_94);
  EXPECT_EQ(video.pixelFormat, RkPixelFormat_I422);
  EXPECT_EQ(video.colorRange, RkColorRange_Limited);
  EXPECT_EQ(video.aspectNumerator * 11, video.aspectDenominator * 12);
  EXPECT_EQ(description.format.audio.channels, 2);
  EXPECT_EQ(description.format.audio.samplesPerSecond, 44100u);
  EXPECT_EQ(description.format.audio.bitsPerSample, 24);
  EXPECT_EQ(description.frameCount, 60u);
  EXPECT_TRUE(description.hasVideo && description.hasAudio);
}

TEST_F(CElementTest, picture_memory_comes_from_the_pool_and_goes_back_over_many_openings) {
  const std::string path = Make("reuse.mp4", kShort + std::string("-c:v libx264 -c:a aac"));
  CReusingPool pool;
  format = Describe(path).format;
  const auto element = Create(path, format.video.frameRate);
  std::string first;
  for (int opening = 0; opening < 20; ++opening) {
    ASSERT_TRUE(element->Open(&pool, 0, &format));
    const std::string picture = At(element, 20).picture;
    if (first.empty()) first = picture;
    ASSERT_TRUE(picture == first);
    Rest(element);
    element->Close();
    ASSERT_TRUE(pool.AllFree());
  }
  EXPECT_LE(pool.Made(), 3 * kRkPlaneCount);
}

TEST_F(CElementTest, a_file_that_vanishes_cannot_be_opened_and_leaves_the_element_whole) {
  const std::string path = Make("gone.mp4", kShort + std::string("-c:v libx264 -c:a aac"));
  format = Describe(path).format;
  const auto element = Create(path, format.video.frameRate);
  std::filesystem::rename(path, path + ".away");
  EXPECT_FALSE(element->Open(nullptr, 0, &format));
  EXPECT_EQ(element->GetFrameCount(), 25u);
  std::filesystem::rename(path + ".away", path);
  EXPECT_TRUE(element->Open(nullptr, 0, &format));
  EXPECT_TRUE(Next(element).read);
}

}  // namespace
