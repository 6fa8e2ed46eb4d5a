#include <cstdlib>

#include "tests/libraries/media/MediaTest.h"

namespace {

const std::string kPicture = "-f lavfi -i testsrc2=s=64x48:r=25:d=2 ";
// Pink noise: no stretch of it equals another.
const std::string kNoise = "-f lavfi -i anoisesrc=seed=1:r=48000:d=2:c=pink:a=0.5:seed=7 ";

class CSoundTest : public CMediaTest {
 protected:
  // Samples per channel before the frame.
  size_t SamplesBefore(UINT frame) const {
    return RkAudioUtils::GetAudioSampleCounts(format.audio.samplesPerSecond,
                                              static_cast<ERkFrameRate>(format.video.frameRate), 0, frame);
  }
  std::string Share(const std::string& sound, UINT frame) const {
    const size_t from = SamplesBefore(frame) * format.audio.blockAlign;
    return sound.substr(from, SamplesBefore(frame + 1) * format.audio.blockAlign - from);
  }

  // In order and at random, every frame carries its share of the reference.
  void ExpectSound(const CRkRef<IRkClipElement>& element, const std::string& reference) {
    const std::vector<SFrame> frames = Rest(element);
    ASSERT_EQ(frames.size(), element->GetFrameCount());
    for (UINT i = 0; i < frames.size(); ++i) ASSERT_TRUE(frames[i].sound == Share(reference, i)) << i;
    const UINT last = element->GetFrameCount() - 1;
    for (const UINT offset : {last, 0u, last / 2, 1u, last - 1, last / 3, last / 3 + 1}) {
      EXPECT_TRUE(At(element, offset).sound == Share(reference, offset)) << offset;
    }
    EXPECT_TRUE(sink.substituted.empty());
  }
};

TEST_F(CSoundTest, integer_sound_is_given_to_the_bit_and_coded_sound_as_the_program_decodes_it) {
  for (const auto& [name, coding, raw, channels, bits] :
       {std::tuple("a.mov", "mjpeg -c:a pcm_s16le -ac 1", "-f s16le", 1, 16),
        {"a.mov", "mjpeg -c:a pcm_s16le -ac 2", "-f s16le", 2, 16},
        {"a.mov", "mjpeg -c:a pcm_s24le -ac 2", "-f s24le", 2, 24},
        {"a.mov", "mjpeg -c:a pcm_s32le -ac 6", "-f s32le", 6, 32},
        {"a.mp4", "libx264 -c:a aac -aac_pns 0 -ac 2 -shortest", "-f s16le", 2, 16}}) {
    SCOPED_TRACE(coding);
    const std::string path = Make(name, kPicture + kNoise + "-c:v " + coding);
    const auto element = OpenAsItIs(path);
    EXPECT_EQ(format.audio.channels, channels);
    EXPECT_EQ(format.audio.bitsPerSample, bits);
    std::string reference = RkReferenceSound(path, raw);
    reference.resize(SamplesBefore(element->GetFrameCount()) * format.audio.blockAlign);
    ExpectSound(element, reference);
  }
}

TEST_F(CSoundTest, a_seek_meets_the_same_sample_where_times_are_rounded_to_milliseconds) {
  for (const char* codec : {"flac", "pcm_s16le", "libmp3lame", "aac -aac_pns 0", "libvorbis",
                            "libopus -ar 48000", "dca -strict -2 -ar 48000"}) {
    SCOPED_TRACE(codec);
    const std::string path = Make("rounded.mkv",
                                  "-f lavfi -i testsrc2=s=64x48:r=25:d=4 -f lavfi "
                                  "-i anoisesrc=seed=1:r=44100:d=4:c=pink:a=0.5 -c:v mjpeg -c:a " +
                                      std::string(codec));
    const auto element = OpenAsItIs(path);
    const std::string whole = Sound(Rest(element));
    for (const UINT offset : {80u, 30u, 99u, 0u, 55u}) {
      EXPECT_TRUE(At(element, offset).sound == Share(whole, offset)) << offset;
    }
  }
}

TEST_F(CSoundTest, mono_tracks_are_channels_and_other_tracks_are_chosen_by_name) {
  // Sound tracks: 1 and 2 mono, 3 mono German, 4 stereo.
  std::string sources = kPicture;
  for (const char* colour : {"white", "brown", "pink", "blue"})
    sources += "-f lavfi -i anoisesrc=seed=1:r=48000:d=2:a=0.5:c=" + std::string(colour) + " ";
  const std::string all = sources + "-map 0 -map 1 -map 2 -map 3 -map 4 -c:a pcm_s16le ";
  const std::string mov = Make(
      "tracks.mov", all + "-c:v mjpeg -ac:a:3 2 -metadata:s:a:2 language=ger -metadata:s:a:1 language=und");
  const std::string mxf =
      Make("tracks.mxf", all + "-c:v mpeg2video -pix_fmt yuv422p -map 1 -map 2 -map 3 -map 1");
  const auto tracks = [](const std::string& path, const std::string& filter) {
    return RkRunFfmpeg("-i '" + path + "' -filter_complex '" + filter + "' -f s16le -");
  };
  const struct {
    const std::string& path;
    const char* choice;
    int channels;
    const char* filter;
    const char* unused;
  } cases[] = {{mov, nullptr, 2, "[0:a:0][0:a:1]amerge", "2 sound tracks not used: 3 (ger), 4"},
               {mov, "all", 5, "[0:a:0][0:a:1][0:a:2][0:a:3]amerge=4", ""},
               {mov, "3", 1, "[0:a:2]anull", "3 sound tracks not used: 1, 2, 4"},
               {mov, "4+1", 3, "[0:a:3][0:a:0]amerge", "2 sound tracks not used: 2, 3 (ger)"},
               {mov, "GER", 1, "[0:a:2]anull", "3 sound tracks not used: 1, 2, 4"},
               {mxf, "", 8, "[0:a:0][0:a:1][0:a:2][0:a:3][0:a:4][0:a:5][0:a:6][0:a:7]amerge=8", ""}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.path + " " + (one.choice == nullptr ? "" : one.choice));
    options.audioTracks = one.choice;
    const auto element = OpenAsItIs(one.path);
    EXPECT_EQ(format.audio.channels, one.channels);
    EXPECT_STREQ(Describe(one.path).unusedSound, one.unused);
    ExpectSound(element, tracks(one.path, one.filter));
  }
  options.audioTracks = "all";
  format.audio = RkMakeWaveFormat(2, 48000, 16);
  ExpectSound(OpenAs(mov, format), tracks(mov, "[0:a:0][0:a:1]amerge"));
  for (const auto& [choice, why] :
       {std::pair("6", "it has no sound track 6"), {"fra", "it has no sound track of the language 'fra'"}}) {
    SRkMediaReason reason{};
    CRkRef<IRkMediaFile> file;
    options.audioTracks = choice;
    EXPECT_EQ(RkExamineMedia(mov.c_str(), &options, file.Out(), &reason), 0);
    EXPECT_STREQ(reason.text, why);
  }
}

TEST_F(CSoundTest, rate_and_layout_are_converted_as_the_program_does) {
  const std::string path = Make(
      "convert.mov", kPicture + "-f lavfi -i anoisesrc=seed=1:r=44100:d=2 -c:v mjpeg -c:a pcm_s16le -ac 6");
  SRkClipFormat as = Describe(path).format;
  as.audio = RkMakeWaveFormat(2, 44100, 16);
  ExpectSound(OpenAs(path, as), RkReferenceSound(path, "-ac 2 -f s16le"));
  as.audio = RkMakeWaveFormat(6, 48000, 16);
  ExpectSound(OpenAs(path, as), RkReferenceSound(path, "-ar 48000 -f s16le"));
  as.audio = RkMakeWaveFormat(6, 44100, 8);
  ExpectSound(OpenAs(path, as), RkReferenceSound(path, "-f u8"));
}

TEST_F(CSoundTest, sound_that_begins_later_ends_early_or_pauses_stays_beside_its_picture) {
  const std::string later =
      Make("later.mov",
           kPicture + "-itsoffset 0.5 -f lavfi -i anoisesrc=seed=1:r=48000:d=1 -c:v mjpeg -c:a pcm_s16le");
  std::string reference =
      std::string(24000 * 2, '\0') + RkReferenceSound(later, "-af asetpts=N/SR/TB -f s16le");
  reference.resize(96000 * 2);
  ExpectSound(OpenAsItIs(later), reference);
  const std::string paused = Make(
      "paused.mkv", kPicture + kNoise + "-af \"aselect='not(between(n,20,29))'\" -c:v mjpeg -c:a pcm_s16le");
  const auto element = OpenAsItIs(paused);
  const std::string sound = Sound(Rest(element));
  std::string expected = RkReferenceSound(paused);
  expected.insert(20 * 1024 * 2, 10 * 1024 * 2, '\0');
  // The pause begins and ends at times rounded to milliseconds.
  EXPECT_TRUE(sound.compare(0, 20 * 1024 * 2, expected, 0, 20 * 1024 * 2) == 0);
  const size_t after = sound.find(expected.substr(30 * 1024 * 2, 4096));
  ASSERT_NE(after, std::string::npos);
  EXPECT_LE(std::abs(static_cast<long>(after) - 30 * 1024 * 2), 2 * 48);
}

TEST_F(CSoundTest, a_file_without_sound_gives_silence_and_one_without_pictures_gives_black) {
  const std::string mute = Make("mute.mp4", kPicture + "-c:v libx264");
  EXPECT_FALSE(Describe(mute).hasAudio);
  SRkClipFormat as = Describe(mute).format;
  EXPECT_EQ(as.audio.channels, 0);
  EXPECT_TRUE(Next(OpenAs(mute, as)).sound.empty());
  as.audio = RkMakeWaveFormat(2, 48000, 16);
  ExpectSound(OpenAs(mute, as), std::string(96000 * 4, '\0'));

  const std::string blind = Make("blind.wav", "-f lavfi -i anoisesrc=seed=1:r=48000:d=1.01");
  EXPECT_FALSE(Describe(blind).hasVideo);
  as.audio = RkMakeWaveFormat(1, 48000, 16);
  const auto element = OpenAs(blind, as);
  ASSERT_EQ(element->GetFrameCount(), 26u);
  std::string reference = RkReferenceSound(blind);
  reference.resize(26 * 1920 * 2);
  ExpectSound(element, reference);
  const std::string black = std::string(64 * 48, 16) + std::string(64 * 48 / 2, '\x80');
  EXPECT_EQ(At(element, 25).picture, black);
}

TEST_F(CSoundTest, shares_at_29_97_lose_and_double_no_sample_and_trim_ranges_bring_their_own) {
  const std::string path =
      Make("trim.mov",
           "-f lavfi -i testsrc2=s=160x120:r=30000/1001:d=2.002 -f lavfi -i anoisesrc=seed=1:r=48000:d=2.1 "
           "-c:v libx264 -g 12 -c:a pcm_s16le");
  const std::string pictures = RkReferencePictures(path);
  const std::string sound = RkReferenceSound(path);
  const auto element = OpenAsItIs(path);
  ASSERT_EQ(element->GetFrameCount(), 60u);
  ExpectSound(element, sound);  // which is longer than the pictures

  element->SetTrimInfo(MakeTrim({{5, 10}, {31, 34}, {58, 60}}).Get());
  element->SetTimelineStart(7);
  ASSERT_TRUE(element->Open(nullptr, 0, &format));
  const std::vector<SFrame> frames = Rest(element);
  EXPECT_EQ(NumbersIn(pictures, frames), (std::vector<int>{5, 6, 7, 8, 9, 31, 32, 33, 58, 59}));
  for (UINT from = 0; const auto& [in, count] : {std::pair(5u, 5u), {31u, 3u}, {58u, 2u}}) {
    const std::string range = Sound({frames.begin() + from, frames.begin() + from + count});
    EXPECT_EQ(range.size(), (SamplesBefore(7 + from + count) - SamplesBefore(7 + from)) * 2);
    EXPECT_TRUE(range == sound.substr(SamplesBefore(in) * 2, range.size())) << in;
    from += count;
  }
  EXPECT_EQ(frames[9].position, 16u);
}

}  // namespace
