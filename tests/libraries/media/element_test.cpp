#include "base/CRkHeapPlayBuffer.h"
#include "tests/libraries/media/MediaTest.h"

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
    for (const auto& buffer : pool.lent) EXPECT_EQ(References(*buffer), 1u);
  }
}

}  // namespace
