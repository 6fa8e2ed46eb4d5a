#include "contracts/kernel/CRkHeapPlayBuffer.h"
#include "tests/media/MediaTest.h"

namespace {

using CElementTest = CMediaTest;

// Keeps what it lent.
class CKeepingPool : public CFake<IRkPlayBufferPool> {
 public:
  BOOL GetBuffer(UINT bytes, IRkPlayBuffer** buffer) override {
    CRkRef<IRkPlayBuffer> made;
    if (!CRkHeapPlayBuffer::Create(bytes, made.Out())) return FALSE;
    made.CopyTo(buffer);
    lent.push_back(made);
    return TRUE;
  }
  std::vector<CRkRef<IRkPlayBuffer>> lent;
};

constexpr const char* kShort =
    "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -f lavfi -i anoisesrc=seed=1:r=48000:d=1 ";

TEST_F(CElementTest, only_formats_of_its_rate_that_make_sense_open_it) {
  const std::string path = Make("rate.mp4", kShort + std::string("-c:v libx264 -c:a aac"));
  SRkClipFormat good = Describe(path).format;
  const auto element = Create(path, RkFrameRate_50);
  EXPECT_EQ(element->GetFrameCount(), 50u);
  EXPECT_FALSE(Next(element).read);
  EXPECT_FALSE(element->Open(nullptr, 0, nullptr));
  EXPECT_FALSE(element->Open(nullptr, 0, &good)) << "of another rate";
  good.video.frameRate = RkFrameRate_50;
  SRkClipFormat bad[] = {good, good, good};
  bad[0].audio.bitsPerSample = 12;
  bad[1].video.width = 0;
  bad[2].video.pixelFormat = 3;
  for (const SRkClipFormat& as : bad) {
    EXPECT_TRUE(element->Open(nullptr, 0, &good));
    EXPECT_FALSE(element->Open(nullptr, 0, &as));
    EXPECT_FALSE(Next(element).read);
  }
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
  EXPECT_EQ(video.aspectNumerator * 11, video.aspectDenominator * 12);
  EXPECT_EQ(video.pixelFormat, RkPixelFormat_I422);
  EXPECT_EQ(video.colorRange, RkColorRange_Limited);
  EXPECT_EQ(description.format.audio.samplesPerSecond, 44100u);
  EXPECT_EQ(description.frameCount, 60u);
}

TEST_F(CElementTest, picture_memory_comes_from_the_pool_and_goes_back_over_many_openings) {
  const std::string path = Make("reuse.mp4", kShort + std::string("-c:v libx264 -c:a aac"));
  format = Describe(path).format;
  const auto element = Create(path, format.video.frameRate);
  for (int opening = 0; opening < 5; ++opening) {
    CKeepingPool pool;
    ASSERT_TRUE(element->Open(&pool, 0, &format));
    EXPECT_TRUE(At(element, 20).read);
    EXPECT_EQ(Rest(element).size(), 4u);
    element->Close();
    EXPECT_FALSE(pool.lent.empty());
    for (const auto& buffer : pool.lent) EXPECT_EQ((buffer->AddRef(), buffer->Release()), 1u);
  }
}

}  // namespace
