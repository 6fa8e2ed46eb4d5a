// Pictures that hold two fields: deinterlaced, and counted once however they are stored.

#include "tests/libraries/media/MediaTest.h"

namespace {

class CInterlacedTest : public CMediaTest {
 protected:
  std::string MakeInterlaced(const std::string& name, const std::string& coding) {
    return Make(name, "-f lavfi -i testsrc2=s=720x576:r=50:d=0.8 -vf interlace,setsar=16/15 " + coding);
  }
  CRkRef<IRkClipElement> OpenAtRate(const std::string& path, int frameRate) {
    SRkClipFormat as = Describe(path).format;
    as.video.frameRate = frameRate;
    return OpenAs(path, as);
  }
};

TEST_F(CInterlacedTest, marked_pictures_are_deinterlaced_as_the_program_does_in_order_and_at_random) {
  const std::string files[] = {
      MakeInterlaced("long.ts", "-c:v mpeg2video -flags +ilme+ildct -qscale:v 3 -g 12 -bf 2"),
      MakeInterlaced("mbaff.mp4", "-c:v libx264 -preset veryfast -flags +ilme+ildct -g 12"),
      MakeInterlaced("intra.dv", "-pix_fmt yuv420p -c:v dvvideo"),
  };
  for (const std::string& path : files) {
    SCOPED_TRACE(path);
    EXPECT_TRUE(Describe(path).isInterlaced);
    const std::string frames = RkReferencePictures(path, "-vf bwdif=send_frame:deint=interlaced");
    const auto element = OpenAsItIs(path);
    ExpectAllPictures(element, frames);
    for (const UINT offset : {19u, 7u, 8u, 12u, 0u, 1u, 11u})
      ExpectPicture(At(element, offset), frames, offset);

    const std::string fields = RkReferencePictures(path, "-vf bwdif=send_field:deint=interlaced");
    const auto doubled = OpenAtRate(path, RkFrameRate_50);
    ExpectAllPictures(doubled, fields);
    for (const UINT offset : {39u, 6u, 5u, 21u, 0u}) ExpectPicture(At(doubled, offset), fields, offset);

    options.deinterlace = RkDeinterlace_Off;
    ExpectAllPictures(OpenAsItIs(path), RkReferencePictures(path));
    options.deinterlace = RkDeinterlace_Auto;
  }
}

TEST_F(CInterlacedTest, progressive_pictures_stay_untouched_unless_all_are_to_be_deinterlaced) {
  const std::string path = Make("whole.mp4", "-f lavfi -i testsrc2=s=160x120:r=25:d=0.8 -c:v libx264 -g 12");
  ExpectAllPictures(OpenAsItIs(path), RkReferencePictures(path));
  options.deinterlace = RkDeinterlace_On;
  ExpectAllPictures(OpenAsItIs(path), RkReferencePictures(path, "-vf bwdif=send_frame:deint=all"));

  // Both kinds in one file: cut together from a progressive and an interlaced recording.
  options.deinterlace = RkDeinterlace_Auto;
  const std::string coding = "-c:v mpeg2video -qscale:v 3 -g 12 ";
  Make("first.mpg", "-f lavfi -i testsrc2=s=720x576:r=25:d=0.4 -f mpeg2video " + coding);
  Make("second.mpg",
       "-f lavfi -i testsrc2=s=720x576:r=50:d=0.4 -vf interlace -flags +ilme+ildct -f mpeg2video " + coding);
  const std::string both = folder.Path("both.mpg");
  RkRun("cat '" + folder.Path("first.mpg") + "' '" + folder.Path("second.mpg") + "' > '" + both + "'");
  const std::string reference = RkReferencePictures(both, "-vf bwdif=send_frame:deint=interlaced");
  const auto element = OpenAsItIs(both);
  ExpectAllPictures(element, reference);
  for (const UINT offset : {10u, 9u, 11u, 19u, 0u}) ExpectPicture(At(element, offset), reference, offset);
}

}  // namespace
