#include <filesystem>

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

// A file is examined without its elements, and what they do with it is up to each.
TEST_F(CElementTest, a_still_lasts_as_long_as_asked_and_a_sequence_a_frame_a_picture) {
  const std::string still = Make("slate.jpg", "-f lavfi -i testsrc2=s=64x48 -frames:v 1 -pix_fmt yuvj420p");
  const std::string reference = RkReferencePictures(still);
  EXPECT_TRUE(Describe(still).isStill);
  EXPECT_EQ(Describe(still).frameCount, 250u);
  options.stillFrames = 3;
  const auto element = OpenAsItIs(still);
  EXPECT_EQ(element->GetFrameCount(), 3u);
  for (const UINT offset : {2u, 0u, 1u}) ExpectPicture(At(element, offset), reference, 0);

  const std::string sequence =
      Make("p%03d.jpg", "-f lavfi -i testsrc2=s=64x48 -frames:v 5 -start_number 8 -pix_fmt yuvj420p");
  const std::string pictures = RkRunFfmpeg("-start_number 8 -i '" + sequence + "' -f rawvideo -");
  SRkClipFormat as = Describe(sequence).format;
  as.video.frameRate = RkFrameRate_50;
  const auto numbered = OpenAs(sequence, as);
  ExpectAllPictures(numbered, pictures);
  for (const UINT offset : {3u, 1u, 4u}) ExpectPicture(At(numbered, offset), pictures, offset);
  std::filesystem::remove(folder.Path("p010.jpg"));
  SRkMediaDescription description{};
  SRkMediaReason reason{};
  EXPECT_EQ(RkDescribeMedia(sequence.c_str(), &description, &reason), 0);
  EXPECT_STREQ(reason.text, "its picture p010.jpg is missing");
}

TEST_F(CElementTest, sound_shows_its_cover_and_outlasts_the_pictures_when_asked) {
  const std::string cover = Make("red.png", "-f lavfi -i color=red:s=64x48 -frames:v 1");
  const std::string song = Make("song.mp3", "-i '" + cover +
                                                "' -f lavfi -i sine=d=1 -map 1 -map 0 -c:v copy "
                                                "-disposition:v attached_pic");
  SRkClipFormat as = Describe(song).format;
  as.video.width = 64;
  as.video.height = 48;
  const std::string picture = At(OpenAs(song, as), 5).picture;
  ASSERT_EQ(picture.size(), 64u * 48 * 3 / 2);
  EXPECT_NEAR(static_cast<BYTE>(picture[0]), 81, 2);
  EXPECT_NEAR(static_cast<BYTE>(picture.back()), 240, 2);

  for (const char* name : {"long.mp4", "long.mkv"}) {
    const std::string path =
        Make(name,
             "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -f lavfi -i "
             "sine=d=2:sample_rate=48000 -c:v libx264 -pix_fmt yuv420p -c:a flac -strict -2");
    EXPECT_NEAR(static_cast<double>(Describe(path).soundExcessMs), 1000, 2) << name;
    options.holdPicture = TRUE;
    const auto element = OpenAsItIs(path);
    EXPECT_EQ(element->GetFrameCount(), 50u) << name;
    const std::vector<SFrame> frames = Rest(element);
    EXPECT_EQ(Sound(frames), RkReferenceSound(path)) << name;
    ExpectPicture(frames.back(), RkReferencePictures(path), 24);
  }
  EXPECT_TRUE(sink.substituted.empty());
}

}  // namespace
