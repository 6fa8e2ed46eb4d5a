#include "tests/rkplay/RkplayTest.h"

namespace {

constexpr size_t kPictureBytes = 100 * 62 * 3;
const std::string kLongGop = "-c:v libx264 -g 250 -bf 3 -pix_fmt yuv420p -c:a aac ";
const std::string kIntra = "-c:v mpeg4 -g 1 -c:a pcm_s16le";

class RkplayFrame : public RkplayTest {
 protected:
  Result Frame(Words arguments) const {
    arguments.insert(arguments.begin(), "frame");
    return Rkplay(arguments);
  }
  // Every picture of the clip in red, green and blue.
  std::string Reference(const std::string& clip, const std::string& matrix) const {
    return Ffmpeg("-i " + clip + " -map 0:v:0 -fps_mode passthrough -vf scale=in_color_matrix=" + matrix +
                      ":flags=bicubic+accurate_rnd+full_chroma_int -pix_fmt rgb24 -f rawvideo",
                  "reference");
  }
  // Compared as a whole: the difference itself would be no help to read.
  void ExpectPicture(const std::string& png, const std::string& reference, size_t number) const {
    const std::string picture = Ffmpeg("-f png_pipe -i " + png + " -pix_fmt rgb24 -f rawvideo", "picture");
    EXPECT_TRUE(picture == reference.substr(number * kPictureBytes, kPictureBytes)) << png;
  }
  std::ptrdiff_t FileCount() const {
    return std::distance(std::filesystem::directory_iterator(Path("")), {});
  }
};

TEST_F(RkplayFrame, frames_are_those_that_ffmpeg_gives_in_whatever_order_they_are_asked_for) {
  for (const auto& [clip, coding] : {std::pair("long.mp4", kLongGop), {"intra.mov", kIntra}}) {
    SCOPED_TRACE(clip);
    MakeClip(clip, "25", "10.4", coding);
    const std::string reference = Reference(clip, "bt601");
    ASSERT_EQ(reference.size(), 260 * kPictureBytes);
    const Result result = Frame({clip, "137", "first", "last", "136", "1", "--png", "still.png"});
    EXPECT_EQ(result.status, 0) << result.errors;
    for (const size_t number : {0, 1, 136, 137, 259}) {
      ExpectPicture("still-" + std::to_string(number) + ".png", reference, number);
    }
    std::filesystem::create_directories(Path("%dx"));
    EXPECT_EQ(Frame({clip, "249", "250", "--png", "%dx/%04d.png"}).status, 0);
    ExpectPicture("%dx/0249.png", reference, 249);
    ExpectPicture("%dx/0250.png", reference, 250);
  }
}

TEST_F(RkplayFrame, a_picture_has_the_size_asked_for_and_replaces_what_a_link_points_to) {
  WriteFile("old.png", "old");
  std::filesystem::create_symlink("old.png", Path("link.png"));
  EXPECT_EQ(Frame({"pattern:5", "last", "--size", "320x18", "--png", "link.png"}).output,
            "frame 4  link.png\n");
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link.png")));
  EXPECT_EQ(ReadFile("old.png").substr(12, 12), std::string("IHDR\0\0\x01\x40\0\0\0\x12", 12));
}

TEST_F(RkplayFrame, a_frame_that_cannot_be_had_fails_alone) {
  MakeClip("whole.mp4", "25", "4", kLongGop + "-movflags +faststart");
  const std::string whole = ReadFile("whole.mp4");
  WriteFile("cut.mp4", whole.substr(0, whole.size() / 2));
  std::filesystem::create_directories(Path("still-2.png"));
  const Result result =
      Frame({"cut.mp4", "100", "last", "3", "2", "99999999999", "first", "--png", "still.png"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "frame 3  still-3.png\nframe 0  still-0.png\n");
  EXPECT_EQ(
      result.errors,
      "rkplay: cut.mp4: there is no frame 100: it has 100, counted from 0\n"
      "rkplay: cut.mp4: frame 99 cannot be read: unexpected end of file (--force writes the picture that "
      "goes on air)\n"
      "rkplay: still-2.png: cannot be written: it is no regular file\n"
      "rkplay: cut.mp4: there is no frame 99999999999: it has 100, counted from 0\n");
  EXPECT_EQ(FileCount(), 5) << "the clips, still-0, still-2 and still-3";
  const Result forced = Frame({"cut.mp4", "last", "--force", "--png", "forced.png"});
  EXPECT_EQ(forced.status, 0);
  EXPECT_EQ(forced.output, "frame 99  forced.png\n");
  EXPECT_EQ(forced.errors, "rkplay: cut.mp4: frame 99 is not the clip's own: unexpected end of file\n");
  const std::string reference = Reference("whole.mp4", "bt601");
  ExpectPicture("still-0.png", reference, 0);
  ExpectPicture("still-3.png", reference, 3);
}

TEST_F(RkplayFrame, what_makes_no_sense_is_refused_before_anything_is_written) {
  for (const char* position : {"middle", "-1", "1.5", ""})
    ExpectRefused({"frame", "pattern:5", "0", position, "--png", "a.png"}, "' is not a position");
  ExpectRefused({"frame", "gone.mp4", "1", "--png", "a.png"}, "gone.mp4: No such file or directory");
  for (const char* clip : {"pattern:5@1-3", "pattern:5*2", "list.m3u"})
    ExpectRefused({"frame", clip, "1", "--png", "a.png"}, "one clip, whole");
  Ffmpeg("-f lavfi -i sine -t 1", "sound.wav");
  ExpectRefused({"frame", "sound.wav", "1", "--png", "a.png"}, "sound.wav: has no pictures");
  std::filesystem::copy_file(Path("sound.wav"), Path("clip-3.png"));
  ExpectRefused({"frame", "clip-3.png", "1", "3", "--png", "clip.png"},
                "clip-3.png: is played and cannot be written");
  ExpectRefused({"frame", "pattern:5", "1", "--png", "clip.mov"}, "would be no mov file");
  Ffmpeg("-f lavfi -i testsrc2=size=16x16 -frames:v 1", "0.png");
  ExpectRefused({"frame", "%d.png", "0", "--png", "%d.png"}, "0.png: would overwrite a picture of %d.png");
  EXPECT_EQ(FileCount(), 3) << "the clips";
}

}  // namespace
