// What happens to pictures that are not in the output's format: colours, shape, turn, opacity.

#include <cmath>

#include "tests/libraries/media/MediaTest.h"

namespace {

class CConversionTest : public CMediaTest {
 protected:
  struct SColour {
    int y, u, v;
  };

  // The file's first frame in the size, without sound.
  SFrame First(const std::string& path, int width, int height, int aspectNumerator = 1,
               int aspectDenominator = 1) {
    return Next(OpenAs(path, {{},
                              {width, height, RkPixelFormat_I420, 0, RkFrameRate_25, aspectNumerator,
                               aspectDenominator, RkColorRange_Limited, 0}}));
  }

  // The colour of a 4:2:0 frame at a place given in luma samples.
  SColour At(const SFrame& frame, int x, int y) const {
    const int width = format.video.width;
    const int height = format.video.height;
    const auto byte = [&frame](int at) {
      return static_cast<int>(static_cast<BYTE>(frame.picture[static_cast<size_t>(at)]));
    };
    const int chroma = width * height + y / 2 * ((width + 1) / 2) + x / 2;
    return {byte(y * width + x), byte(chroma), byte(chroma + (width + 1) / 2 * ((height + 1) / 2))};
  }

  void ExpectColour(const SFrame& frame, int x, int y, const SColour& expected, int tolerance = 2) const {
    const SColour colour = At(frame, x, y);
    SCOPED_TRACE(testing::Message() << "at " << x << "," << y);
    EXPECT_NEAR(colour.y, expected.y, tolerance);
    EXPECT_NEAR(colour.u, expected.u, tolerance);
    EXPECT_NEAR(colour.v, expected.v, tolerance);
  }

  // A still of one colour in raw YUV, coded without loss, with the tags.
  std::string MakeYuv(const std::string& name, const std::string& size, const std::string& yuv,
                      const std::string& tags, const std::string& pixels = "yuv420p") {
    return Make(name, "-f lavfi -i color=black:s=" + size + ":r=25:d=0.08,format=" + pixels + ",geq=" + yuv +
                          " " + tags + " -c:v ffv1");
  }

  // In dB, over the samples of `picture`.
  static double Psnr(const std::string& picture, const std::string& reference) {
    double squares = 0.0;
    for (size_t i = 0; i < picture.size() && i < reference.size(); ++i) {
      squares += std::pow(static_cast<BYTE>(picture[i]) - static_cast<BYTE>(reference[i]), 2);
    }
    return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(picture.size()) / squares);
  }

  // The first and last column, or row, of the frame's luma around its middle that is not black.
  void ExpectExtent(const SFrame& frame, bool columns, int first, int last) const {
    const int width = format.video.width;
    const int height = format.video.height;
    std::vector<int> bright;
    for (int i = 0; i < (columns ? width : height); ++i) {
      if (At(frame, columns ? i : width / 2, columns ? height / 2 : i).y >= 40) bright.push_back(i);
    }
    ASSERT_FALSE(bright.empty());
    EXPECT_NEAR(bright.front(), first, 1);
    EXPECT_NEAR(bright.back(), last, 1);
  }
};

constexpr const char* kUntagged = "-colorspace 2";

TEST_F(CConversionTest, matrix_and_range_follow_the_size_of_the_output_whatever_the_source_states) {
  const CConversionTest::SColour red601{81, 90, 240};
  const CConversionTest::SColour red709{63, 102, 240};
  const std::string sd = MakeYuv("sd.mkv", "720x576", "81:90:240", kUntagged);
  const std::string hd = MakeYuv("hd.mkv", "1280x720", "63:102:240", kUntagged);
  ExpectColour(First(sd, 1280, 720), 640, 300, red709);
  ExpectColour(First(hd, 720, 576), 360, 300, red601);
  // Copied where nothing differs, converted where only the tag does.
  ExpectColour(First(hd, 1280, 720), 640, 300, red709, 0);
  const std::string tagged = MakeYuv("tagged.mkv", "1280x720", "81:90:240", "-colorspace smpte170m");
  ExpectColour(First(tagged, 1280, 720), 640, 300, red709);
  const std::string full =
      MakeYuv("full.mkv", "1280x720", "255:128:128", "-color_range pc -colorspace bt709");
  ExpectColour(First(full, 1280, 720), 640, 300, {235, 128, 128}, 1);
  const std::string rgb =
      Make("rgb.png", "-f lavfi -i color=red:s=1280x720:r=25:d=0.04,format=rgb24 -frames:v 1");
  ExpectColour(First(rgb, 1280, 720), 640, 300, red709);
}

TEST_F(CConversionTest, deep_pictures_are_dithered_and_high_dynamic_range_is_tone_mapped) {
  // Half a step between two codes of 8 bits comes out as both, in equal shares.
  const std::string deep = MakeYuv("deep.mkv", "1280x720", "402:512:512", "-colorspace bt709", "yuv420p10");
  EXPECT_EQ(Describe(deep).pictureBits, 10);
  const SFrame dithered = First(deep, 1280, 720);
  double sum = 0.0;
  for (int i = 0; i < 1280 * 720; ++i) sum += static_cast<BYTE>(dithered.picture[static_cast<size_t>(i)]);
  EXPECT_NEAR(sum / (1280 * 720), 100.5, 0.1);

  const std::string mapped =
      "-vf zscale=t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,tonemap=hable:desat=0,"
      "zscale=t=bt709:m=bt709:r=limited,format=yuv420p";
  for (const char* transfer : {"smpte2084", "arib-std-b67"}) {
    SCOPED_TRACE(transfer);
    const std::string path =
        Make("high.mkv",
             std::string("-f lavfi -i testsrc2=s=1280x720:r=25:d=0.08,hue=s=0.02,format=yuv420p10 -c:v "
                         "ffv1 -colorspace bt2020nc -color_primaries bt2020 -color_trc ") +
                 transfer);
    EXPECT_TRUE(Describe(path).isHighDynamicRange);
    EXPECT_GT(Psnr(First(path, 1280, 720).picture, RkReferencePictures(path, mapped)), 32.0);
  }
}

TEST_F(CConversionTest, another_shape_is_fitted_cropped_or_stretched_by_its_pixel_aspect) {
  const std::string pal =
      "-f lavfi -i color=white:s=720x576:r=25:d=0.08 -c:v mpeg2video -qscale:v 2 -aspect ";
  const std::string narrow = Make("narrow.ts", pal + "4:3");
  const std::string wide = Make("wide.ts", pal + "16:9");
  ExpectExtent(First(narrow, 1280, 720), true, 160, 1119);
  ExpectExtent(First(narrow, 1280, 720), false, 0, 719);
  ExpectExtent(First(wide, 1280, 720), true, 0, 1279);
  // Into pixels that are not square: a wide list of PAL size.
  ExpectExtent(First(narrow, 720, 576, 64, 45), true, 90, 629);
  EXPECT_EQ(Describe(wide).format.video.aspectNumerator * 45,
            Describe(wide).format.video.aspectDenominator * 64);

  const std::string tall = Make("tall.mkv", "-f lavfi -i color=white:s=360x640:r=25:d=0.08 -c:v ffv1");
  ExpectExtent(First(tall, 640, 360), true, 219, 420);
  ExpectColour(First(tall, 640, 360), 10, 10, {16, 128, 128}, 0);
  // A circle of 4:3 stays round; a border shows what is cropped.
  const std::string framed =
      Make("framed.mkv", "-f lavfi -i color=white:s=640x480:r=25:d=0.08,drawbox=t=20:c=black -c:v ffv1");
  options.fit = RkFit_Fill;
  ExpectExtent(First(framed, 640, 360), true, 20, 619);
  ExpectExtent(First(framed, 640, 360), false, 0, 359);
  options.fit = RkFit_Stretch;
  ExpectExtent(First(framed, 640, 360), false, 15, 344);
  ExpectExtent(First(narrow, 1280, 720), true, 0, 1279);
}

TEST_F(CConversionTest, the_display_matrix_turns_pictures_and_opacity_lies_over_black) {
  const std::string upright =
      Make("upright.mp4", "-f lavfi -i testsrc2=s=160x120:r=25:d=0.2 -c:v libx264 -preset veryfast");
  for (const int turn : {90, 180, 270}) {
    SCOPED_TRACE(turn);
    const std::string path =
        Make("turned.mp4", "-i '" + upright + "' -c copy -metadata:s:v:0 rotate=" + std::to_string(turn));
    const SRkMediaDescription turned = Describe(path);
    EXPECT_EQ(turned.format.video.width, turn == 180 ? 160 : 120);
    ExpectAllPictures(OpenAsItIs(path), RkReferencePictures(path));
  }
  const std::string half =
      Make("half.mov",
           "-f lavfi -i color=white:s=64x48:r=25:d=0.08,format=rgba,colorchannelmixer=aa=0.5 "
           "-c:v qtrle");
  ExpectColour(First(half, 64, 48), 32, 24, {126, 128, 128});
}

}  // namespace
