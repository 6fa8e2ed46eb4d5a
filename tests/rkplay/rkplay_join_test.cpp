#include "tests/rkplay/RkplayTest.h"

namespace {

constexpr size_t kPictureBytes = 100 * 62 * 3 / 2;

// rkplay's files against what the ffmpeg program gives for the same clips.
class RkplayJoin : public RkplayTest {
 protected:
  std::string ReferencePictures(const Words& clips) const {
    return _Joined(clips, ":v]", "v=1:a=0' -fps_mode passthrough -f rawvideo");
  }
  std::string ReferenceSound(const Words& clips) const { return _Joined(clips, ":a]", "v=0:a=1' -f s16le"); }
  void ExpectPlays(const Words& clips, const std::string& pictures, const std::string& sound) const {
    Words arguments = clips;
    arguments.insert(arguments.end(), {"--video", "out.y4m", "--audio", "out.wav"});
    const Result result = Rkplay(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    // Compared as a whole: the difference itself would be no help to read.
    EXPECT_TRUE(Pictures("out.y4m", kPictureBytes) == pictures);
    EXPECT_TRUE(Sound("out.wav") == sound);
  }

 private:
  std::string _Joined(const Words& clips, const std::string& pad, const std::string& output) const {
    std::string inputs;
    std::string pads;
    for (size_t clip = 0; clip < clips.size(); ++clip) {
      inputs.append("-i ").append(clips[clip]).append(" ");
      pads.append("[").append(std::to_string(clip)).append(pad);
    }
    return Ffmpeg(
        inputs + "-filter_complex '" + pads + "concat=n=" + std::to_string(clips.size()) + ":" + output,
        "reference");
  }
};

const std::string kLongGop = "-c:v libx264 -g 60 -bf 3 -pix_fmt yuv420p -c:a pcm_s16le";

TEST_F(RkplayJoin, files_in_the_output_format_join_to_the_bit) {
  MakeClip("a.mov", "25", "2.4", kLongGop);
  MakeClip("b.mkv", "25", "1.2", "-c:v mpeg4 -g 1 -pix_fmt yuv420p -c:a pcm_s16le -ac 1");
  MakeClip("broadcast.mov", "30000/1001", "2.002", kLongGop);
  MakeClip("longer.mov", "30000/1001", "3.003", kLongGop);
  for (const Words& clips : {Words{"a.mov", "b.mkv", "a.mov"}, Words{"broadcast.mov", "longer.mov"}}) {
    ExpectPlays(clips, ReferencePictures(clips), ReferenceSound(clips));
  }
}

TEST_F(RkplayJoin, ranges_and_repeats_of_a_playlist_cut_frames_and_their_sound_exactly) {
  MakeClip("a.mov", "25", "1.6", kLongGop);
  MakeClip("b.mov", "25", "0.8", kLongGop);
  WriteFile("lists/show.m3u", "#EXTM3U\n../a.mov\n" + Path("b.mov") + "\n../a.mov\n");
  const std::string pictures = ReferencePictures({"a.mov", "b.mov", "a.mov"});
  const std::string sound = ReferenceSound({"a.mov", "b.mov", "a.mov"});
  const auto cut = [](const std::string& all, size_t unit) {
    const std::string range = all.substr(33 * unit, (67 - 33) * unit);
    const std::string first = all.substr(0, unit);
    return range + range + range + first + first;
  };
  ExpectPlays({"lists/show.m3u@33-67*3", "a.mov@0-1*2"}, cut(pictures, kPictureBytes), cut(sound, 1920 * 2));
}

TEST_F(RkplayJoin, a_truncated_file_keeps_its_length_and_is_reported) {
  MakeClip("whole.mov", "25", "4", "-c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16le -movflags +faststart");
  const std::string whole = ReadFile("whole.mov");
  WriteFile("cut.mov", whole.substr(0, whole.size() * 6 / 10));
  ExpectFails({"cut.mov", "pattern:5", "--video", "out.y4m", "--stats", "stats.json"},
              "cut.mov at 00:00:02:");
  EXPECT_EQ(Outcomes(), Words({"damaged", "played"}));
  const auto stats = Stats();
  EXPECT_GT(stats["lists"][0]["readErrors"], 10);
  EXPECT_LT(stats["lists"][0]["readErrors"], 90);
  EXPECT_EQ(stats["lists"][1]["readErrors"], 0);
  EXPECT_EQ(Pictures("out.y4m", kPictureBytes).size(), 105 * kPictureBytes);
}

// The clip is cued only when the list before it goes on air, and a list of its own fares as a line of
// another.
TEST_F(RkplayJoin, a_file_that_vanishes_keeps_its_slot_and_costs_nothing_else) {
  MakeClip("gone.mov", "25", "0.4", kLongGop);
  WriteFile("show.m3u", "pattern:4\ngone.mov\npattern:6\n");
  Process process(Command({"pattern:5", "pattern:5", "show.m3u", "pattern:7", "--manual", "--size", "100x62",
                           "--stats", "stats.json"}));
  ASSERT_TRUE(process.WaitForOutput("list 1/4  has ended"));
  std::filesystem::remove(Path("gone.mov"));
  process.Type("\n\n\n");
  EXPECT_EQ(process.Wait(), 1);
  EXPECT_EQ(process.Errors(),
            "rkplay: list 3: gone.mov at 00:00:00:14: No such file or directory (10 frames went out as the "
            "last good picture or black)\n");
  EXPECT_EQ(Outcomes(), Words({"played", "played", "damaged", "played"}));
  EXPECT_EQ(Stats()["deliveredFrames"], 5 + 5 + 20 + 7);
  EXPECT_EQ(Stats()["lists"][2]["faults"][0]["frames"], 10);
}

TEST_F(RkplayJoin, a_file_that_loses_its_name_on_air_plays_on) {
  MakeClip("a.mov", "25", "2", kLongGop);
  EXPECT_EQ(Rkplay({"a.mov*3", "--audio", "whole.wav"}).status, 0);
  Process process(Command({"a.mov*3", "--realtime", "--audio", "out.wav"}));
  ASSERT_TRUE(process.WaitForOutput("begins"));
  std::filesystem::remove(Path("a.mov"));
  EXPECT_EQ(process.Wait(), 0) << process.Errors();
  EXPECT_TRUE(ReadFile("out.wav") == ReadFile("whole.wav"));
}

TEST_F(RkplayJoin, lines_of_a_playlist_take_ranges_repeats_and_urls) {
  MakeClip("a.mov", "25", "1.2", kLongGop);
  const std::string pictures = ReferencePictures({"a.mov"});
  std::filesystem::rename(Path("a.mov"), Path("a b.mov"));
  WriteFile("show.m3u", "a b.mov@3-00:00:00:05*2\nfile://" + Path("a%20b.mov") + "@29-30\n");
  EXPECT_EQ(Rkplay({"show.m3u@1-5", "--video", "out.y4m"}).status, 0);
  const auto frame = [&pictures](size_t number) {
    return pictures.substr(number * kPictureBytes, kPictureBytes);
  };
  EXPECT_TRUE(Pictures("out.y4m", kPictureBytes) == frame(4) + frame(3) + frame(4) + frame(29));
}

TEST_F(RkplayJoin, the_output_is_420_limited_with_pixels_that_keep_the_shape) {
  Ffmpeg("-f lavfi -i testsrc2=size=100x62:rate=25 -frames:v 2 -pix_fmt yuvj444p -c:v mjpeg", "full.mov");
  Ffmpeg("-f lavfi -i testsrc2=size=720x576:rate=25 -frames:v 2 -vf setsar=64/45 -c:v mpeg4", "wide.mov");
  const struct {
    Words arguments;
    const char* header;
  } cases[] = {
      {{"full.mov"}, "W100 H62 F25:1 Ip A1:1 C420jpeg XYSCSS=420JPEG XCOLORRANGE=LIMITED\n"},
      {{"full.mov", "--pixel-format", "yuvj444p"},
       "W100 H62 F25:1 Ip A1:1 C444 XYSCSS=444 XCOLORRANGE=FULL\n"},
      {{"full.mov", "--size", "80x80"}, "W80 H80 F25:1 Ip A1:1 C420"},
      {{"wide.mov"}, "W720 H576 F25:1 Ip A64:45 C420"},
      {{"wide.mov", "--size", "1024x576"}, "W1024 H576 F25:1 Ip A1:1 C420"},
      {{"wide.mov", "--size", "720x480"}, "W720 H480 F25:1 Ip A32:27 C420"},
      {{"full.mov", "--size", "704x576"}, "W704 H576 F25:1 Ip A16:11 C420"},
  };
  for (const auto& [arguments, header] : cases) {
    Words play = arguments;
    play.insert(play.end(), {"--video", "out.y4m"});
    EXPECT_EQ(Rkplay(play).status, 0) << header;
    EXPECT_TRUE(ReadFile("out.y4m").starts_with(std::string("YUV4MPEG2 ") + header)) << header;
  }
}

TEST_F(RkplayJoin, a_programme_takes_stills_leaves_out_what_is_missing_and_says_so) {
  Ffmpeg("-f lavfi -i testsrc2=size=400x300 -frames:v 1", "slate.png");
  MakeClip("ten.mov", "50", "0.2", "-c:v ffv1 -pix_fmt yuv420p10le -an");
  WriteFile("show.m3u", "gone.mov\nslate.png@10-15\nten.mov\n");
  ExpectRefused({"show.m3u"}, "show.m3u: line 1: gone.mov: No such file or directory");
  ExpectRefused({"slate.png@5-5"}, "holds no frame");
  const Result result = Rkplay({"slate.png@0-400", "gone.mov", "show.m3u", "slate.png", "--skip-missing",
                                "--video", "out.y4m", "--stats", "stats.json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors,
            "rkplay: left out: gone.mov: No such file or directory\n"
            "rkplay: left out: show.m3u: line 1: gone.mov: No such file or directory\n");
  EXPECT_EQ(Stats()["deliveredFrames"], 400 + 5 + 10 + 500);
  EXPECT_NE(result.output.find("note          10-bit pictures dithered to 8: ten.mov\n"), std::string::npos);
  EXPECT_TRUE(ReadFile("out.y4m").starts_with("YUV4MPEG2 W100 H62 F50:1 Ip A1:1 C420jpeg"));
}

}  // namespace
