// Pictures that hold two fields: deinterlaced, and counted once however they are stored.

#include <fstream>

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
    stream._SequenceParameters();
    stream._PictureParameters();
    for (int picture = 0; picture < count; ++picture) {
      stream._Field(picture, false);
      stream._Field(picture, true);
    }
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
  void _Numbers(std::initializer_list<unsigned> values) {
    for (const unsigned value : values) _Number(value);
  }
  void _Unit(int header) {
    _Bits(1, 1);
    while (m_bits.size() % 8 != 0) _Bits(0, 1);
    m_bytes += std::string("\0\0\0\1", 4) + static_cast<char>(header);
    int zeros = 0;
    for (size_t at = 0; at < m_bits.size(); at += 8) {
      int byte = 0;
      for (size_t bit = 0; bit < 8; ++bit) byte = byte * 2 + (m_bits[at + bit] ? 1 : 0);
      if (zeros == 2 && byte <= 3) {
        m_bytes += '\3';
        zeros = 0;
      }
      m_bytes += static_cast<char>(byte);
      zeros = byte == 0 ? zeros + 1 : 0;
    }
    m_bits.clear();
  }

  void _SequenceParameters() {
    _Bits(77, 8);  // main profile, level 3
    _Bits(0, 8);
    _Bits(30, 8);
    _Numbers({0, 0, 0, 4, 1});  // 4 bits of frame number, 8 of picture order, one reference
    _Bits(0, 1);
    _Numbers({kWidth / 16 - 1, kHeight / 32 - 1});
    _Bits(0b00100, 5);  // fields, not adaptive, no cropping, no usability information
    _Unit(0x67);
  }
  void _PictureParameters() {
    _Numbers({0, 0});
    _Bits(0, 2);
    _Numbers({0, 0, 0});
    _Bits(0, 3);
    _Numbers({0, 0, 0});
    _Bits(0, 3);
    _Unit(0x68);
  }
  void _Field(int picture, bool bottom) {
    const bool isFirst = picture == 0 && !bottom;
    m_bytes += std::string("\0\0\0\1\x09\xf0", 6);
    _Numbers({0, 7, 0});  // all macroblocks are intra coded
    _Bits(static_cast<unsigned>(picture % 16), 4);
    _Bits(bottom ? 3 : 2, 2);
    if (isFirst) _Number(0);
    _Bits(static_cast<unsigned>((2 * picture + (bottom ? 1 : 0)) % 256), 8);
    _Bits(0, isFirst ? 2 : 1);
    _Number(0);
    for (int block = 0; block < kWidth / 16 * kHeight / 32; ++block) {
      _Number(25);
      while (m_bits.size() % 8 != 0) _Bits(0, 1);
      for (int i = 0; i < 256; ++i) _Bits(static_cast<unsigned>(Luma(picture, bottom)), 8);
      for (int i = 0; i < 128; ++i) _Bits(128, 8);
    }
    _Unit(isFirst ? 0x65 : 0x61);
  }

  std::string m_bytes;
  std::vector<bool> m_bits;
};

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

TEST_F(CInterlacedTest, pictures_stored_as_two_fields_are_counted_once) {
  const std::string raw = folder.Path("fields.h264");
  std::ofstream(raw, std::ios::binary) << CFieldStream::Pictures(24);
  const std::string copy = "-f h264 -i '" + raw + "' -c copy -bsf:v ";
  options.deinterlace = RkDeinterlace_Off;
  for (const std::string& path : {
           raw,
           Make("per-field.ts", copy + "setts=ts=N*1800"),
           Make("per-frame.ts", copy + "\"setts=ts=if(mod(N\\,2)\\,NOPTS\\,N*1800)\""),
           Make("per-field.mkv", copy + "setts=ts=N*20"),
       }) {
    SCOPED_TRACE(path);
    SRkClipFormat as = Describe(path).format;
    EXPECT_EQ(as.video.frameRate, RkFrameRate_25);
    const auto element = OpenAs(path, as);
    ASSERT_EQ(element->GetFrameCount(), 24u);
    const std::vector<SFrame> frames = Rest(element);
    ASSERT_EQ(frames.size(), 24u);
    for (const size_t number : {0, 1, 12, 23}) {
      EXPECT_EQ(static_cast<BYTE>(frames[number].picture[0]),
                CFieldStream::Luma(static_cast<int>(number), false))
          << number;
      EXPECT_EQ(static_cast<BYTE>(frames[number].picture[CFieldStream::kWidth]),
                CFieldStream::Luma(static_cast<int>(number), true))
          << number;
    }
    for (const UINT offset : {20u, 3u})
      EXPECT_TRUE(At(element, offset).picture == frames[offset].picture) << offset;
    EXPECT_TRUE(sink.substituted.empty());
  }
}

}  // namespace
