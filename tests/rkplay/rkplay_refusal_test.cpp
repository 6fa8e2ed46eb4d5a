#include "tests/rkplay/RkplayTest.h"

namespace {

using RkplayRefusal = RkplayTest;

TEST_F(RkplayRefusal, arguments_that_make_no_sense_are_refused_in_one_line) {
  ExpectRefused({"--nonsense"}, "--nonsense: there is no such option");
  ExpectRefused({"\x1b[2J\xc2\x9b\n.mov"}, "?[2J??.mov: No such file");
  ExpectRefused({"\x9bK\xc0\x9b\xe0\x82\x9b\xed\xa0\x80\xe2\x82.\xc3\xa9\xe2\x82\xac\xf0\x9f\x8e\xac"},
                "rkplay: ?K?????.\xc3\xa9\xe2\x82\xac\xf0\x9f\x8e\xac: No such");
  ExpectRefused({"--fit", "big", "pattern:5"}, "--fit: 'big' is none of bars, fill, stretch");
  ExpectRefused({"--video", "out.mp4", "pattern:5"}, "out.mp4 would be no mp4 file");
  for (const char* size : {"640", "640x", "x360", "0x360", "640x-1", "99999999999x1", "640x360x2"})
    ExpectRefused({"--size", size, "pattern:5"}, "--size: '" + std::string(size) + "'");
  ExpectRefused({"--rate", "26", "pattern:5"}, "29.97");
  for (const auto& [option, value] : {std::pair("--audio-rate", "0"),
                                      {"--audio-channels", "-2"},
                                      {"--start", "-1"},
                                      {"--start", "4294967296"}})
    ExpectRefused({option, value, "pattern:5"}, option);
  ExpectRefused({"--start", "5", "pattern:5*2"}, "--start: 5 is past the last frame");
  ExpectRefused({"pattern:5@2-6"}, "pattern:5@2-6: the range ends past the last of 5 frames");
}

TEST_F(RkplayRefusal, a_clip_that_cannot_be_opened_stops_everything_before_it_begins) {
  WriteFile("text.mp4", "this is no film");
  ExpectRefused({"pattern:5", "gone.mp4", "--video", "out.y4m"}, "gone.mp4: No such file or directory");
  ExpectRefused({"pattern:5", "text.mp4", "--video", "out.y4m"}, "text.mp4: ");
  EXPECT_FALSE(std::filesystem::exists(Path("out.y4m")));
}

TEST_F(RkplayRefusal, faults_of_a_playlist_name_the_playlist_and_its_line) {
  WriteFile("empty.m3u", "#EXTM3U\r\n\r\n# nothing\r\n");
  ExpectRefused({"empty.m3u"}, "empty.m3u: the playlist names no clip");
  WriteFile("sub/missing.m3u", "pattern:5\n\ngone.mp4\n");
  ExpectRefused({"sub/missing.m3u"}, "sub/missing.m3u: line 3: sub/gone.mp4: No such file or directory");
  WriteFile("nested.m3u8", "other.m3u\n");
  ExpectRefused({"nested.m3u8"}, "nested.m3u8: line 1: a playlist inside a playlist");
  WriteFile("far.m3u", "pattern:5\nhttp://127.0.0.1:1/a.mp4\n");
  ExpectRefused({"far.m3u"}, "far.m3u: line 2: http://127.0.0.1:1/a.mp4: addresses in playlists are opened");
  ExpectRefused({"far.m3u", "--allow-urls"}, "far.m3u: line 2: http://127.0.0.1:1/a.mp4: Connection refused");
  ExpectRefused({"udp://127.0.0.1:9"}, "addresses of this kind cannot be played");
  WriteFile("input.m3u", "-\n");
  ExpectRefused({"input.m3u"}, "input.m3u: line 1: -: the standard input");
}

TEST_F(RkplayRefusal, files_that_cannot_or_must_not_be_written_are_refused) {
  for (const char* option : {"--video", "--audio", "--log", "--stats"}) {
    ExpectRefused({"pattern:5", option, "gone/file"}, "gone/file: cannot be written");
    ExpectRefused({"pattern:5", option, ""}, std::string(option) + ": no file name");
    ExpectRefused({"pattern:5", option, "-"}, std::string(option) + ": the standard output");
  }
  ExpectRefused({"pattern:5", "--video", "same", "--stats", "./same"},
                "./same: two outputs cannot share one file");
  WriteFile("list.m3u", "pattern:5\n");
  ExpectRefused({"list.m3u", "--log", "./list.m3u"}, "./list.m3u: is played and cannot be written");
  EXPECT_EQ(ReadFile("list.m3u"), "pattern:5\n");
}

}  // namespace
