#include "tests/libraries/media/MediaTest.h"

namespace {

class CDamageTest : public CMediaTest {
 protected:
  static std::string WhyNot(const std::string& path) {
    CRkRef<IRkClipElement> element;
    SRkMediaDescription description{};
    SRkMediaReason described{};
    SRkMediaReason reason{};
    EXPECT_EQ(RkDescribeMedia(path.c_str(), &description, &described), 0);
    EXPECT_EQ(
        RkCreateMediaClipElement(path.c_str(), RkFrameRate_25, nullptr, nullptr, element.Out(), &reason), 0);
    EXPECT_STREQ(described.text, reason.text);
    return reason.text;
  }
};

TEST_F(CDamageTest, a_file_that_cannot_be_played_is_refused_with_the_reason) {
  EXPECT_EQ(WhyNot(folder.Path("absent.mp4")), "No such file or directory");
  EXPECT_EQ(WhyNot(folder.Path(".")), "Is a directory");
  EXPECT_FALSE(WhyNot(folder.Write("empty.mp4", "")).empty());
  const std::string whole =
      RkReadFile(Make("whole.mp4", "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -c:v libx264"));
  EXPECT_EQ(WhyNot(folder.Write("unfinished.mp4", whole.substr(0, whole.find("moov") - 4))),
            "its index (moov) is missing: the recording was not finished, or the file is cut");
  EXPECT_FALSE(WhyNot(folder.Write("text.srt", "1\n00:00:00,000 --> 00:00:01,000\nNo picture\n")).empty());
}

TEST_F(CDamageTest, a_truncated_file_delivers_what_it_announced) {
  for (const char* name : {"cut.mp4", "cut.mkv"}) {
    SCOPED_TRACE(name);
    const std::string whole =
        Make(name,
             "-f lavfi -i testsrc2=s=160x120:r=25:d=4 -f lavfi -i anoisesrc=seed=1:r=48000:d=4:c=pink "
             "-c:v libx264 -preset veryfast -g 25 -bf 2 -c:a aac -movflags faststart");
    const std::string reference = RkReferencePictures(whole);
    const std::string bytes = RkReadFile(whole);
    const auto element = OpenAsItIs(folder.Write("truncated", bytes.substr(0, bytes.size() * 6 / 10)));
    EXPECT_EQ(element->GetFrameCount(), 100u);
    // The far end first, then in order: both find the same last good picture.
    const SFrame end = At(element, 99);
    ASSERT_TRUE(end.read);
    element->SeekTo(0);
    sink.substituted.clear();
    const std::vector<SFrame> frames = Rest(element);
    ASSERT_EQ(frames.size(), 100u);
    ASSERT_FALSE(sink.substituted.empty());
    const UINT first = sink.substituted.front().first;
    EXPECT_GT(first, 40u);
    EXPECT_LT(first, 75u);
    ASSERT_EQ(sink.substituted.size(), 100u - first);
    for (UINT offset = first; offset < 100; ++offset) {
      EXPECT_EQ(sink.substituted[offset - first],
                (std::pair<UINT, std::string>(offset, "unexpected end of file")));
      EXPECT_TRUE(frames[offset].picture == frames[first - 1].picture) << offset;
    }
    EXPECT_TRUE(end.picture == frames[first - 1].picture);
    EXPECT_EQ(frames[99].sound, std::string(frames[99].sound.size(), '\0'));
    // What is left is what it was, but for the end, which may be half there.
    for (UINT offset = 0; offset + 5 < first; ++offset) ExpectPicture(frames[offset], reference, offset);
    sink.substituted.clear();
    ExpectPicture(At(element, 12), reference, 12);
    EXPECT_TRUE(sink.substituted.empty());
  }
}

TEST_F(CDamageTest, pictures_that_the_decoder_completes_are_shown_and_reported) {
  const std::string whole =
      Make("payload.mp4",
           "-f lavfi -i testsrc2=s=320x240:r=25:d=2 -c:v libx264 -preset veryfast -g 10 "
           "-crf 8 -x264-params slices=4");
  const std::string reference = RkReferencePictures(whole);
  std::string bytes = RkReadFile(whole);
  for (size_t at = bytes.size() / 2; at < bytes.size() / 2 + 50; at += 7)
    bytes[at] = static_cast<char>(at * 31);
  const auto element = OpenAsItIs(folder.Write("damaged.mp4", bytes));
  const std::vector<SFrame> frames = Rest(element);
  ASSERT_EQ(frames.size(), 50u);
  ASSERT_FALSE(sink.substituted.empty());
  const std::vector<int> numbers = NumbersIn(reference, frames);
  const auto [offset, reason] = sink.substituted.front();
  EXPECT_EQ(reason, "damaged picture");
  EXPECT_EQ(numbers[offset], -1) << "neither right nor the picture before it";
  EXPECT_EQ(numbers[offset - 1], static_cast<int>(offset) - 1);
}

TEST_F(CDamageTest, sound_that_the_decoder_refuses_is_silence_between_fades) {
  for (const char* coding : {"ac3 -b:a 192k", "flac"}) {
    SCOPED_TRACE(coding);
    const std::string whole = Make("whole.mkv",
                                   "-f lavfi -i testsrc2=s=64x48:r=25:d=2 -f lavfi -i sine=r=48000:f=440:d=2 "
                                   "-c:v ffv1 -c:a " +
                                       std::string(coding));
    const SRkClipFormat as = Describe(whole).format;
    const std::string good = Sound(Rest(OpenAs(whole, as)));
    std::string bytes = RkReadFile(whole);
    // Inside one packet of sound in the middle of the file: pictures of this kind are 3000 bytes and more.
    const std::string sound = RkRunFfmpeg("-i '" + whole + "' -map 0:a -c copy -f data -");
    const size_t at = bytes.find(sound.substr(sound.size() / 2, 24));
    ASSERT_NE(at, std::string::npos);
    for (size_t i = 0; i < 24; ++i) bytes[at + i] ^= 0x55;
    const auto element = OpenAs(folder.Write("damaged.mkv", bytes), as);
    const std::string damaged = Sound(Rest(element));
    ASSERT_EQ(damaged.size(), good.size());
    ASSERT_FALSE(sink.substituted.empty());
    EXPECT_EQ(sink.substituted.front().second, "damaged sound");
    EXPECT_LE(sink.substituted.size(), 4u);
    const auto* samples = reinterpret_cast<const int16_t*>(damaged.data());
    const auto* reference = reinterpret_cast<const int16_t*>(good.data());
    int silent = 0, wrong = 0, step = 0;
    for (size_t i = 1; i < damaged.size() / 2; ++i) {
      silent += samples[i] == 0 ? 1 : 0;
      wrong += samples[i] != reference[i] ? 1 : 0;
      step = std::max(step, std::abs(samples[i] - samples[i - 1]));
    }
    EXPECT_GT(silent, 1000);
    EXPECT_LT(wrong, 12000);
    EXPECT_LT(step, 400) << "a tone of 440 Hz steps by 240 at most";
    sink.substituted.clear();
  }
}

}  // namespace
