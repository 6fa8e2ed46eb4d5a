#include <fstream>
#include <set>

#include "tests/libraries/media/MediaTest.h"

namespace {

class CDamageTest : public CMediaTest {
 protected:
  static std::string Load(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string Save(const std::string& name, const std::string& bytes) const {
    const std::string path = folder.Path(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
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
  EXPECT_FALSE(WhyNot(Save("empty.mp4", "")).empty());
  EXPECT_FALSE(WhyNot(Save("text.srt", "1\n00:00:00,000 --> 00:00:01,000\nNo picture\n")).empty());
}

TEST_F(CDamageTest, a_truncated_file_delivers_what_it_announced) {
  for (const char* name : {"cut.mp4", "cut.mkv"}) {
    SCOPED_TRACE(name);
    const std::string whole =
        Make(name,
             "-f lavfi -i testsrc2=s=160x120:r=25:d=4 -f lavfi -i anoisesrc=seed=1:r=48000:d=4:c=pink "
             "-c:v libx264 -preset veryfast -g 25 -bf 2 -c:a aac -movflags faststart");
    const std::string reference = RkReferencePictures(whole);
    const std::string bytes = Load(whole);
    const auto element = OpenAsItIs(Save("truncated", bytes.substr(0, bytes.size() * 6 / 10)));
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

TEST_F(CDamageTest, a_hole_in_the_middle_holds_the_last_picture_and_reports_each_frame) {
  std::string bytes = Load(Make("hole.mov", "-f lavfi -i testsrc2=s=160x120:r=25:d=2 -c:v png"));
  // The heads of two pictures in a row.
  size_t at = 0;
  for (int picture = 0; picture <= 21; ++picture) {
    at = bytes.find("\x89PNG", at + 1);
    if (picture >= 20) bytes.replace(at, 8, 8, '\xff');
  }
  const auto element = OpenAsItIs(Save("hole2.mov", bytes));
  EXPECT_EQ(element->GetFrameCount(), 50u);
  const std::vector<SFrame> frames = Rest(element);
  ASSERT_EQ(frames.size(), 50u);
  std::set<UINT> reported;
  for (const auto& [offset, reason] : sink.substituted) reported.insert(offset);
  EXPECT_EQ(reported, (std::set<UINT>{20, 21}));
  EXPECT_TRUE(frames[21].picture == frames[19].picture);
  EXPECT_FALSE(frames[22].picture == frames[19].picture);
  EXPECT_TRUE(At(element, 21).picture == frames[19].picture);
}

}  // namespace
