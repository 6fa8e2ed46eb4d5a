// A day of play at simulated time: the clock is turned by hand, the renderer keeps only the count.
// RK_SIMULATED_FRAMES plays another number of frames, in thousands (2610 are a day at 29.97).

#include <gtest/gtest.h>

#include <array>

#include "output_device/CRkAudioPacing.h"
#include "output_device/CRkVideoPresenter.h"
#include "tests/output_device/DeviceFakes.h"
#include "tests/support/RkSetting.h"

namespace {

constexpr int kLead = 5;
constexpr UINT kAhead = 8;  // frames that the host is ahead of the clock
constexpr DWORD kSamplesPerSecond = 48000;
constexpr DWORD kBytesPerSample = 4;

// Checks that the stream has no gap and that no frame's sound strays from its frame's time.
class CCountingRenderer : public CScriptedRenderer {
 public:
  explicit CCountingRenderer(SRkFrameRateFraction rate) : m_rate(rate) { plays = true; }

  ULONGLONG frames = 0;
  ULONGLONG bytes = 0;
  ULONGLONG faults = 0;

  void WriteSample(IRkAudioSample* audio, ULONGLONG writePosition) override {
    SRkAudioSampleInfo info = {};
    audio->GetInfo(&info);
    // The samples before frame n, in 1/numerator, lie between the exact time and one sample away.
    const ULONGLONG exact = frames * kSamplesPerSecond * m_rate.denominator;
    const ULONGLONG actual = writePosition / kBytesPerSample * m_rate.numerator;
    const ULONGLONG strays = actual > exact ? actual - exact : exact - actual;
    if (writePosition != bytes || strays >= m_rate.numerator) ++faults;
    bytes += info.dataLength;
    ++frames;
  }

 private:
  const SRkFrameRateFraction m_rate;
};

class CCountingCallback : public CFakeDeviceCallback {
 public:
  UINT due = 0;
  ULONGLONG shown = 0;
  ULONGLONG faults = 0;

  void OnAudioSample(IRkAudioSample*, IRkUnknown*) override {}
  void OnVideoSample(IRkVideoSample* video) override {
    ++shown;
    if (video->GetFrameIndex() != due) ++faults;
  }
};

// The host's side: the same few samples go round, each with the sound of its frame's exact length.
class CFrames {
 public:
  explicit CFrames(ERkFrameRate rate) : m_rate(rate) {
    for (auto& slot : m_slots) {
      slot.block = MakeBlock(2, 16, 2048, 0, 0);
      slot.sample = MakeSample({slot.block});
      slot.video = MakeVideo(0);
    }
  }
  void Submit(UINT frame, CRkSampleQueue& audio, CRkSampleQueue& video, CRkShownFrame& shown) {
    const auto& slot = m_slots[frame % m_slots.size()];
    const auto count = RkAudioUtils::GetAudioSampleCounts(kSamplesPerSecond, m_rate, frame, 1);
    slot.block->SetSampleCount(static_cast<DWORD>(count));
    slot.video->SetFrameIndex(frame);
    Push(audio, slot.sample.Get());
    Push(video, slot.video.Get());
    shown.CountSubmitted();
  }

 private:
  struct SSlot {
    CRkRef<IRkAudioSample> block;
    CRkRef<IRkAVPlaySample> sample;
    CRkRef<IRkVideoSample> video;
  };
  const ERkFrameRate m_rate;
  std::array<SSlot, 2 * kAhead> m_slots;
};

class long_run : public testing::TestWithParam<ERkFrameRate> {};

TEST_P(long_run, keeps_frames_samples_and_their_offset_exact) {
  const SRkFrameRateFraction rate = kRkFrameRates[GetParam()];
  // Whole seconds of the rate's own unit, so that the samples come out even.
  const ULONGLONG thousands = Setting("RK_SIMULATED_FRAMES", 300);
  const UINT frames = static_cast<UINT>(std::max(thousands * 1000 / rate.numerator, 1ull) * rate.numerator);

  const auto renderer = MakeFake<CCountingRenderer>(rate);
  const auto sink = MakeFake<CCountingCallback>();
  const auto marker = MakeVideo(0);
  CRkLockedRef<IRkSoftwareOutputCallback> callback;
  callback.Set(sink);
  CRkSampleQueue audioQueue, videoQueue;
  CRkShownFrame shown;
  CRkAudioFrameBuilder builder;
  ASSERT_TRUE(audioQueue.Create(64) && videoQueue.Create(64) && shown.Create());
  ASSERT_TRUE(builder.Configure(kTestAudio, 2, GetParam()));
  shown.BeginPlay();
  const SPacingEvents events;
  CRkAudioPacing pacing(shown, events.All(), *renderer, builder, audioQueue, callback,
                        RkFrameDurationMs(GetParam()), kLead);
  CRkVideoPresenter video(videoQueue, shown, callback, marker.Get());
  CFrames host(GetParam());

  UINT submitted = 0;
  UINT jitter = 1;
  ULONGLONG wraps = 0;
  for (UINT frame = 0; frame + kAhead < frames; ++frame) {
    while (submitted < frame + kAhead) host.Submit(submitted++, audioQueue, videoQueue, shown);
    // Somewhere within the frame, in nanoseconds.
    jitter = jitter * 1664525 + 1013904223;
    const ULONGLONG within = 20 + (jitter >> 16) % 960;                     // thousandths
    const ULONGLONG units = (frame * 1000ull + within) * rate.denominator;  // 1/(1000 numerator) s
    const ULONGLONG ns =
        units / rate.numerator * 1'000'000 + units % rate.numerator * 1'000'000 / rate.numerator;
    const double positionMs = static_cast<double>(ns % 1'000'000'000) / 1e6;
    if (positionMs < renderer->positionMs) ++wraps;
    renderer->positionMs = positionMs;
    pacing.Pass();
    sink->due = frame;
    video.FramePass();
    ASSERT_EQ(shown.Get(), frame);
    ASSERT_EQ(sink->shown, frame + 1ull);
  }
  EXPECT_EQ(sink->faults, 0u);
  EXPECT_EQ(renderer->faults, 0u);
  const ULONGLONG seconds = static_cast<ULONGLONG>(frames) * rate.denominator / rate.numerator;
  EXPECT_NEAR(static_cast<double>(wraps), static_cast<double>(seconds), 1.0);
  // The last frames that were submitted are still to be written; with them the samples are whole seconds.
  const auto rest =
      RkAudioUtils::GetAudioSampleCounts(kSamplesPerSecond, GetParam(), static_cast<UINT>(renderer->frames),
                                         frames - static_cast<UINT>(renderer->frames));
  EXPECT_EQ(renderer->bytes / kBytesPerSample + static_cast<ULONGLONG>(rest), seconds * kSamplesPerSecond);
}

INSTANTIATE_TEST_SUITE_P(rates, long_run, testing::Values(RkFrameRate_29_97, RkFrameRate_59_94));

}  // namespace
