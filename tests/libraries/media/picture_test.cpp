#include "tests/libraries/media/MediaTest.h"

namespace {

using CPictureTest = CMediaTest;

// Two seconds of moving picture in which no frame equals another.
const std::string kMoving = "-f lavfi -i testsrc2=s=160x120:r=25:d=2 ";
const std::string kLongGop = "-c:v libx264 -preset veryfast -pix_fmt yuv420p -g 24 -bf 3 -b_strategy 0 ";

TEST_F(CPictureTest, a_long_gop_file_is_read_to_the_bit_in_order_and_at_random) {
  const std::string path = Make("long.mp4", kMoving + kLongGop);
  const std::string reference = RkReferencePictures(path);
  const auto element = OpenAsItIs(path);
  ExpectAllPictures(element, reference);
  EXPECT_FALSE(Next(element).read);
  for (const UINT offset : {49u, 0u, 23u, 24u, 25u, 22u, 47u, 48u, 1u, 26u, 21u, 49u, 3u}) {
    ExpectPicture(At(element, offset), reference, offset);
    if (offset < 49) ExpectPicture(Next(element), reference, offset + 1);
  }
  element->SeekTo(30);
  ExpectPicture(Next(element), reference, 30);
  EXPECT_FALSE(At(element, 50).read);
  EXPECT_TRUE(sink.substituted.empty());
}

TEST_F(CPictureTest, every_picture_is_found_in_open_groups_in_fragments_and_without_times) {
  const std::string files[] = {
      Make("open.mp4", kMoving + kLongGop + "-x264-params open-gop=1:scenecut=0"),
      Make("open.mkv", kMoving + kLongGop + "-x264-params open-gop=1:scenecut=0"),
      Make("open.ts", kMoving + kLongGop + "-x264-params open-gop=1:scenecut=0"),
      Make("mpeg2.ts", kMoving + "-c:v mpeg2video -qscale:v 3 -g 12 -bf 2"),
      Make("fragments.mp4", kMoving + kLongGop + "-movflags frag_keyframe+default_base_moof"),
      Make("bare.h264", kMoving + kLongGop),
  };
  for (const std::string& path : files) {
    SCOPED_TRACE(path);
    const std::string reference = RkReferencePictures(path);
    const auto element = OpenAsItIs(path);
    ExpectAllPictures(element, reference);
    for (UINT offset = 50; offset-- > 0;) ExpectPicture(At(element, offset), reference, offset);
    EXPECT_TRUE(sink.substituted.empty());
  }
}

TEST_F(CPictureTest, containers_that_round_their_times_give_every_picture_once) {
  const std::pair<const char*, int> rates[] = {{"24000/1001", RkFrameRate_23_976},
                                               {"30000/1001", RkFrameRate_29_97},
                                               {"50", RkFrameRate_50},
                                               {"60000/1001", RkFrameRate_59_94}};
  for (const auto& [rate, found] : rates) {
    SCOPED_TRACE(rate);
    const std::string path =
        Make("rounded.mkv", std::string("-f lavfi -i testsrc2=s=64x48:d=3:r=") + rate + " " + kLongGop);
    const auto element = OpenAsItIs(path);
    EXPECT_EQ(format.video.frameRate, found);
    ExpectAllPictures(element, RkReferencePictures(path));
  }
}

TEST_F(CPictureTest, intra_pictures_of_full_range_and_of_other_samplings_are_copied_to_the_bit) {
  const std::pair<const char*, int> kinds[] = {
      {"yuvj420p", RkPixelFormat_I420}, {"yuvj422p", RkPixelFormat_I422}, {"yuvj444p", RkPixelFormat_I444}};
  for (const auto& [name, sampling] : kinds) {
    SCOPED_TRACE(name);
    const std::string path =
        Make("intra.mov", "-f lavfi -i testsrc2=s=162x122:r=25:d=1 -c:v mjpeg -pix_fmt " + std::string(name));
    const auto element = OpenAsItIs(path);
    EXPECT_EQ(format.video.pixelFormat, sampling);
    EXPECT_EQ(format.video.colorRange, RkColorRange_Full);
    const std::string reference = RkReferencePictures(path);
    ExpectAllPictures(element, reference);
    ExpectPicture(At(element, 11), reference, 11);
  }
}

TEST_F(CPictureTest, a_variable_rate_shows_at_every_time_the_picture_that_began_last) {
  // Pictures at 0, 1, 3, 6, 10, ... twenty-fifths of a second.
  const std::string timing = "-vf 'settb=1/25,setpts=N*(N+1)/2' -vsync passthrough -enc_time_base 1/25 ";
  for (const char* name : {"variable.mp4", "variable.mkv"}) {
    SCOPED_TRACE(name);
    const std::string path =
        Make(name, "-f lavfi -i testsrc2=s=160x120:r=25:d=0.4 " + timing + "-c:v libx264 -bf 2 -g 5");
    const auto element = OpenAtRate(path, RkFrameRate_25);
    const std::string reference = RkReferencePictures(path);
    const std::vector<SFrame> frames = Rest(element);
    EXPECT_EQ(frames.size(), element->GetFrameCount());
    ASSERT_GE(frames.size(), 46u);  // the last of the ten pictures begins at 45
    const std::vector<int> numbers = NumbersIn(reference, frames);
    for (int offset = 0, shown = 0; offset < static_cast<int>(frames.size()); ++offset) {
      if (shown < 9 && offset >= (shown + 1) * (shown + 2) / 2) ++shown;
      EXPECT_EQ(numbers[static_cast<size_t>(offset)], shown) << offset;
    }
    ExpectPicture(At(element, 20), reference, 5);
    ExpectPicture(At(element, 9), reference, 3);
    EXPECT_TRUE(sink.substituted.empty());
  }
}

TEST_F(CPictureTest, another_output_rate_repeats_and_leaves_out_pictures_evenly) {
  const std::string slow = Make("slow.mp4", kMoving + kLongGop);
  const std::string fast = Make("fast.mp4", "-f lavfi -i testsrc2=s=160x120:r=50:d=1.02 " + kLongGop);
  for (const auto& [path, rate] : {std::pair(slow, RkFrameRate_50), {fast, RkFrameRate_25}}) {
    const std::vector<SFrame> frames = Rest(OpenAtRate(path, rate));
    const std::vector<int> numbers = NumbersIn(RkReferencePictures(path), frames);
    ASSERT_EQ(numbers.size(), path == slow ? 100u : 26u);
    for (int i = 0; const int number : numbers) {
      EXPECT_EQ(number, path == slow ? i / 2 : i * 2);
      ++i;
    }
  }
}

TEST_F(CPictureTest, size_and_sampling_are_converted_as_the_program_does) {
  const std::string path = Make("convert.mp4", kMoving + kLongGop + "-t 0.2");
  SRkClipFormat as = Describe(path).format;
  as.video.width = 98;
  as.video.height = 66;
  as.video.pixelFormat = RkPixelFormat_I422;
  options.fit = RkFit_Stretch;
  const auto element = OpenAs(path, as);
  ExpectAllPictures(element, RkReferencePictures(path,
                                                 "-vf scale=98:66:flags=bicubic+accurate_rnd "
                                                 "-pix_fmt yuv422p"));
}

}  // namespace
