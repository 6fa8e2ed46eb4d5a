// Recordings whose clock jumps: every picture is shown once, sound stays beside it, and a seek finds what
// playing on gives.

#include "tests/libraries/media/MediaTest.h"

namespace {

class CSpliceTest : public CMediaTest {
 protected:
  // A recording of two seconds with a tone of its own, whose clock starts at `start` seconds.
  std::string Record(const std::string& name, const std::string& pattern, int tone, double start,
                     const std::string& coding) {
    return Make(name, "-f lavfi -i " + pattern +
                          "=s=160x120:r=25:d=2 -f lavfi -i sine=r=48000:f=" + std::to_string(tone) + ":d=2 " +
                          coding + " -c:a mp2 -b:a 128k -output_ts_offset " + std::to_string(start));
  }

  static int MaxDifference(const std::string& sound, const std::string& other) {
    const auto* a = reinterpret_cast<const int16_t*>(sound.data());
    const auto* b = reinterpret_cast<const int16_t*>(other.data());
    if (sound.size() != other.size()) return INT_MAX;
    int difference = 0;
    for (size_t i = 0; i < sound.size() / 2; ++i) difference = std::max(difference, std::abs(a[i] - b[i]));
    return difference;
  }

  // Whole cycles of the sound of some frames, times 25.
  static int ToneOf(const std::vector<SFrame>& frames, size_t first) {
    const std::string sound =
        Sound({frames.begin() + static_cast<long>(first), frames.begin() + static_cast<long>(first) + 5});
    const auto* samples = reinterpret_cast<const int16_t*>(sound.data());
    int rises = 0;
    for (size_t i = 1; i < sound.size() / 2; ++i) rises += samples[i - 1] < 0 && samples[i] >= 0 ? 1 : 0;
    return rises * 5;
  }
};

const std::string kMpeg2 = "-c:v mpeg2video -qscale:v 3 -g 12 -bf 2";
const std::string kH264 =
    "-c:v libx264 -preset veryfast -pix_fmt yuv420p -g 12 -bf 2 -x264-params open-gop=0";

TEST_F(CSpliceTest, every_picture_of_joined_recordings_is_shown_once_beside_its_sound) {
  for (const std::string& coding : {kMpeg2, kH264}) {
    const std::string first = Record("first.ts", "testsrc2", 400, 0, coding);
    const std::string again = Record("again.ts", "testsrc", 800, 0, coding);
    const std::string later = Record("later.ts", "testsrc", 800, 3600, coding);
    const std::string near = Record("near.ts", "testsrc", 800, 4, coding);
    for (const std::vector<std::string>& parts : {std::vector{first, again},
                                                  {first, later},
                                                  {later, first},
                                                  {first, near},
                                                  {first, again, first, later}}) {
      SCOPED_TRACE(parts.back() + coding);
      std::string reference, joined;
      for (const std::string& part : parts) {
        reference += RkReferencePictures(part);
        joined += RkReadFile(part);
      }
      const auto element = OpenAsItIs(folder.Write("joined.ts", joined));
      EXPECT_EQ(format.video.frameRate, RkFrameRate_25);
      ASSERT_EQ(element->GetFrameCount(), parts.size() * 50);
      const std::vector<SFrame> frames = Rest(element);
      for (size_t i = 0; i < frames.size(); ++i) ExpectPicture(frames[i], reference, i);
      for (size_t part = 0; part < parts.size(); ++part) {
        const int tone = parts[part] == first ? 400 : 800;
        EXPECT_NEAR(ToneOf(frames, part * 50 + 5), tone, 10) << part;
        EXPECT_NEAR(ToneOf(frames, part * 50 + 40), tone, 10) << part;
      }
      const auto last = static_cast<UINT>(frames.size() - 1);
      for (const UINT offset : {last, 51u, 50u, 49u, 70u, 3u}) {
        const SFrame frame = At(element, offset);
        EXPECT_TRUE(frame.picture == frames[offset].picture) << offset;
        // A decoder that starts elsewhere may round otherwise.
        EXPECT_LE(MaxDifference(frame.sound, frames[offset].sound), 1) << offset;
      }
      EXPECT_TRUE(sink.substituted.empty());
    }
  }
}

TEST_F(CSpliceTest, sound_of_another_rate_or_layout_goes_on_converted) {
  const std::string coding = "-c:v mpeg2video -ac 2 ";
  const std::string first = Record("first.ts", "testsrc2", 440, 0, coding);
  const SRkClipFormat as = Describe(first).format;
  const std::vector<SFrame> before = Rest(OpenAs(first, as));
  for (const char* kind : {"-ar 44100", "-ac 1", "-ar 32000 -ac 1"}) {
    SCOPED_TRACE(kind);
    const std::string second = Record("second.ts", "testsrc2", 550, 2, coding + kind);
    const std::vector<SFrame> after = Rest(OpenAs(second, as));
    const auto element = OpenAs(folder.Write("both.ts", RkReadFile(first) + RkReadFile(second)), as);
    const std::vector<SFrame> frames = Rest(element);
    const auto join = static_cast<UINT>(frames.size()) - 50;  // 49: one picture of each at the same time
    ASSERT_GE(join, 49u);
    const auto expect = [&](UINT i, const SFrame& frame) {
      const SFrame& own = i < join ? before[i] : after[i - join];
      // Decoders round by what they decoded before, and the conversion doubles that at worst.
      EXPECT_LE(MaxDifference(frame.sound, own.sound), 2) << i;
    };
    for (UINT i = 0; i < frames.size() - 1; ++i) {
      // Until the parser knows the new rate, it times some frames by the old one.
      if (i < 47 || i > join + 5) expect(i, frames[i]);
    }
    for (const UINT i : {96u, 20u, 75u}) expect(i, At(element, i));
    EXPECT_TRUE(sink.substituted.empty());
  }
}

}  // namespace
