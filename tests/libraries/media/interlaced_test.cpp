// Pictures that hold two fields: deinterlaced, and counted once however they are stored.

#include "tests/libraries/media/MediaTest.h"

namespace {

// Writes H.264 whose pictures are stored as two fields, each a packet of its own, which no encoder at hand
// does. The macroblocks are coded as raw samples.
class CFieldStream {
 public:
  static constexpr int kWidth = 32;
  static constexpr int kHeight = 32;

  static std::string Pictures(int count) {
    CFieldStream stream;
    // Main profile, fields, 4 bits of frame number, 8 of picture order, one reference.
    stream._Unit(std::string("\x67\x4d\x00\x1e\xe5\x45\x24", 7));
    stream._Unit("\x68\xce\x38\x80");
    for (int field = 0; field < 2 * count; ++field) stream._Field(field / 2, field % 2 != 0);
    return stream.m_bytes;
  }
  static int Luma(int picture, bool bottom) { return 20 + 3 * picture + (bottom ? 90 : 0); }

 private:
  void _Bits(unsigned value, int count) {
    for (int bit = count - 1; bit >= 0; --bit) m_bits.push_back((value >> bit & 1) != 0);
  }
  void _Number(unsigned value) {  // ue(v)
    int length = 0;
    while ((value + 1) >> (length + 1) != 0) ++length;
    _Bits(0, length);
    _Bits(value + 1, length + 1);
  }
  void _Align() {
    while (m_bits.size() % 8 != 0) _Bits(0, 1);
  }
  // None of the units holds zeros that would have to be escaped.
  void _Unit(const std::string& bytes) { m_bytes += std::string("\0\0\0\1", 4) + bytes; }

  void _Field(int picture, bool bottom) {
    const bool isFirst = picture == 0 && !bottom;
    _Unit("\x09\xf0");
    _Bits(isFirst ? 0x65 : 0x61, 8);
    for (const unsigned number : {0u, 7u, 0u}) _Number(number);  // all macroblocks are intra coded
    _Bits(static_cast<unsigned>(picture % 16), 4);
    _Bits(bottom ? 3 : 2, 2);
    if (isFirst) _Number(0);
    _Bits(static_cast<unsigned>((2 * picture + (bottom ? 1 : 0)) % 256), 8);
    _Bits(0, isFirst ? 2 : 1);
    _Number(0);
    for (int block = 0; block < kWidth / 16 * kHeight / 32; ++block) {
      _Number(25);
      _Align();
      for (int i = 0; i < 256; ++i) _Bits(static_cast<unsigned>(Luma(picture, bottom)), 8);
      for (int i = 0; i < 128; ++i) _Bits(128, 8);
    }
    _Bits(1, 1);
    _Align();
    std::string bytes(m_bits.size() / 8, '\0');
    for (size_t bit = 0; bit < m_bits.size(); ++bit)
      bytes[bit / 8] = static_cast<char>(bytes[bit / 8] << 1 | (m_bits[bit] ? 1 : 0));
    _Unit(bytes);
    m_bits.clear();
  }

  std::string m_bytes;
  std::vector<bool> m_bits;
};

class CInterlacedTest : public CMediaTest {
 protected:
  std::string MakeInterlaced(const std::string& name, const std::string& coding) {
    return Make(name, "-f lavfi -i testsrc2=s=720x576:r=50:d=0.8 -vf interlace,setsar=16/15 " + coding);
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
    ExpectPicturesAt({19, 7, 8, 12, 0, 1, 11}, element, frames);

    const std::string fields = RkReferencePictures(path, "-vf bwdif=send_field:deint=interlaced");
    const auto doubled = OpenAtRate(path, RkFrameRate_50);
    ExpectAllPictures(doubled, fields);
    ExpectPicturesAt({39, 6, 5, 21, 0}, doubled, fields);

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
  const std::string first =
      Make("first.mpg", "-f lavfi -i testsrc2=s=720x576:r=25:d=0.4 -f mpeg2video " + coding);
  const std::string second = Make(
      "second.mpg",
      "-f lavfi -i testsrc2=s=720x576:r=50:d=0.4 -vf interlace -flags +ilme+ildct -f mpeg2video " + coding);
  const std::string both = folder.Write("both.mpg", RkReadFile(first) + RkReadFile(second));
  const std::string reference = RkReferencePictures(both, "-vf bwdif=send_frame:deint=interlaced");
  const auto element = OpenAsItIs(both);
  ExpectAllPictures(element, reference);
  ExpectPicturesAt({10, 9, 11, 19, 0}, element, reference);
}

TEST_F(CInterlacedTest, pictures_stored_as_two_fields_are_counted_once) {
  const std::string raw = folder.Write("fields.h264", CFieldStream::Pictures(24));
  const std::string copy = "-f h264 -i '" + raw + "' -c copy -bsf:v ";
  options.deinterlace = RkDeinterlace_Off;
  for (const std::string& path : {
           raw,
           Make("per-field.ts", copy + "setts=ts=N*1800"),
           Make("per-frame.ts", copy + "\"setts=ts=if(mod(N\\,2)\\,NOPTS\\,N*1800)\""),
           Make("per-field.mkv", copy + "setts=ts=N*20"),
       }) {
    SCOPED_TRACE(path);
    const auto element = OpenAsItIs(path);
    EXPECT_EQ(format.video.frameRate, RkFrameRate_25);
    ASSERT_EQ(element->GetFrameCount(), 24u);
    const std::vector<SFrame> frames = Rest(element);
    ASSERT_EQ(frames.size(), 24u);
    for (int number = 0; number < 24; ++number) {
      const std::string& picture = frames[static_cast<size_t>(number)].picture;
      EXPECT_EQ(static_cast<BYTE>(picture[0]), CFieldStream::Luma(number, false)) << number;
      EXPECT_EQ(static_cast<BYTE>(picture[CFieldStream::kWidth]), CFieldStream::Luma(number, true)) << number;
    }
    for (const UINT offset : {20u, 3u})
      EXPECT_TRUE(At(element, offset).picture == frames[offset].picture) << offset;
    EXPECT_TRUE(sink.substituted.empty());
  }
}

}  // namespace
