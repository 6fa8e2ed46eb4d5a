// Files with flipped bits and cut ends must neither crash nor hang nor leak, and what opens delivers every
// frame that it announces. RK_MUTATIONS: copies of each file (1000 under the address sanitizer are the long
// form); RK_MUTATION_SEED: the first of their seeds, which a failure prints.

#include <random>

#include "tests/libraries/media/MediaTest.h"
#include "tests/support/RkSetting.h"

namespace {

constexpr UINT kFramesRead = 40;  // a damaged header may announce years

// A few flipped bits near each other or all over, and in every third copy a cut end.
std::string Mutated(std::string bytes, unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&random](size_t limit) { return random() % limit; };
  const size_t reach = below(2) == 0 ? bytes.size() : std::min<size_t>(bytes.size(), 2048);
  const size_t begin = below(bytes.size() - reach + 1);
  for (size_t flips = 1 + below(24); flips > 0; --flips) {
    bytes[begin + below(reach)] ^= static_cast<char>(1u << below(8));
  }
  if (seed % 3 == 0) bytes.resize(1 + below(bytes.size()));
  return bytes;
}

class CMutationTest : public CMediaTest {
 protected:
  void Play(const std::string& path) {
    SRkMediaDescription description{};
    SRkMediaReason reason{};
    if (!RkDescribeMedia(path.c_str(), &description, &reason)) {
      EXPECT_STRNE(reason.text, "");
      return;
    }
    const int rate = description.format.video.frameRate;
    CRkRef<IRkClipElement> element;
    ASSERT_EQ(RkCreateMediaClipElement(path.c_str(), rate, nullptr, &sink, element.Out(), &reason), 1)
        << reason.text;
    format.video = {64, 48, RkPixelFormat_I420, 0, rate, 1, 1, 0, 0};
    format.audio = RkMakeWaveFormat(2, 48000, 16);
    if (!element->Open(nullptr, 0, &format)) return;
    const UINT count = element->GetFrameCount();
    for (UINT frame = 0; frame < std::min(count, kFramesRead); ++frame) {
      const ULONGLONG share =
          RkAudioUtils::GetAudioSampleCounts(48000, static_cast<ERkFrameRate>(rate), frame, 1);
      ASSERT_EQ(Next(element).sound.size(), 4 * share) << "frame " << frame << " of " << count;
    }
    EXPECT_EQ(Next(element).read, count > kFramesRead);
    for (const UINT offset : {count - 1, count / 2, 0u}) EXPECT_TRUE(At(element, offset).read) << offset;
  }

  void PlayMutations(const std::string& name, const std::string& coding) {
    const std::string path =
        Make(name, "-f lavfi -i testsrc2=s=64x48:r=25 -f lavfi -i sine=r=48000 -t 1 " + coding);
    const std::string whole = RkReadFile(path);
    const unsigned first = Setting("RK_MUTATION_SEED", 1);
    for (unsigned seed = first; seed < first + Setting("RK_MUTATIONS", 20); ++seed) {
      SCOPED_TRACE(name + ", RK_MUTATION_SEED=" + std::to_string(seed));
      Play(folder.Write(name, Mutated(whole, seed)));
      if (HasFailure()) return;
    }
  }
};

TEST_F(CMutationTest, files_of_every_kind_survive) {
  PlayMutations("a.mp4", "-c:v libx264 -preset veryfast -g 25 -bf 2 -c:a aac");
  PlayMutations("a.ts", "-c:v mpeg2video -g 12 -c:a mp2");
  PlayMutations("a.mov", "-c:v mjpeg -pix_fmt yuvj422p -c:a pcm_s24le");
  PlayMutations("a.avi", "-c:v mpeg4 -g 1 -c:a pcm_s16le");
  PlayMutations("a.mkv", "-c:v ffv1 -c:a flac");
  PlayMutations("a.wav", "-vn -c:a pcm_s16le");
}

}  // namespace
