#include <fstream>

#include "tests/libraries/media/MediaTest.h"

namespace {

class CInputTest : public CMediaTest {
 protected:
  // Empty when the file is played.
  std::string WhyRefused(const std::string& name) const {
    SRkMediaDescription description{};
    SRkMediaReason reason{};
    return RkDescribeMedia(folder.Path(name).c_str(), &description, &reason) ? "" : reason.text;
  }
};

TEST_F(CInputTest, a_file_names_others_only_below_its_own_folder) {
  std::filesystem::create_directories(folder.Path("clip/part"));
  Make("secret.ts", "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -c:v mpeg2video");
  Make("clip/part/a.ts", "-f lavfi -i testsrc2=s=64x48:r=25:d=1 -c:v mpeg2video");
  const auto hls = [](const std::string& segment) {
    return "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXT-X-MEDIA-SEQUENCE:0\n#EXTINF:1,\npart/a.ts\n#EXTINF:1,\n" +
           segment + "\n#EXT-X-ENDLIST\n";
  };
  const std::string concat = "ffconcat version 1.0\nfile part/a.ts\nfile ";
  folder.Write("clip/good.hls", hls("part/a.ts"));
  folder.Write("clip/good.txt", concat + "part/a.ts\n");
  EXPECT_EQ(WhyRefused("clip/good.hls"), "");
  EXPECT_EQ(Describe(folder.Path("clip/good.txt")).frameCount, 50u);

  std::filesystem::create_symlink(folder.Path("secret.ts"), folder.Path("clip/link.ts"));
  for (const std::string& segment :
       {std::string("../secret.ts"), folder.Path("secret.ts"), "file://" + folder.Path("secret.ts"),
        std::string("part/../../secret.ts"), std::string("link.ts"), std::string("http://127.0.0.1:1/a.ts"),
        std::string("crypto:file:/etc/passwd.ts")}) {
    folder.Write("clip/bad.hls", hls(segment));
    const std::string why = WhyRefused("clip/bad.hls");
    EXPECT_TRUE(why.starts_with("it names ") && why.ends_with("not below its own folder")) << segment << why;
    folder.Write("clip/bad.txt", concat + segment + "\n");
    EXPECT_EQ(WhyRefused("clip/bad.txt").empty(), segment == "link.ts") << segment;
  }
  // What a script names leads no further, and neither does a tag in front of a script.
  folder.Write("clip/bad.hls", hls("../secret.ts"));
  for (const std::string& script : {std::string("ffconcat version 1.0\nfile bad.hls\n"),
                                    std::string("ID3\x04\0\0\0\0\0\0", 10) + concat + "/etc/passwd\n",
                                    std::string("ffconcat version 1.0\nfile own.txt\n"),
                                    std::string("v=0\nc=IN IP4 127.0.0.1\nm=video 9 RTP/AVP 33\n")}) {
    folder.Write("clip/own.txt", script);
    EXPECT_NE(WhyRefused("clip/own.txt"), "") << script;
  }
}

}  // namespace
