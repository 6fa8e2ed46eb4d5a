#include <cmath>
#include <future>
#include <limits>

#include "base/RkMonotonicTime.h"
#include "libraries/kernel/audio/CRkAudioDirectSound.h"
#include "libraries/kernel/audio/CRkRecoveringSoundOutput.h"
#include "tests/libraries/kernel/AudioRendererFakes.h"
#include "tests/support/RkLogRecorder.h"

namespace {

constexpr DWORD kFrameBytes = 4;
constexpr DWORD kPeriodBytes = 480 * kFrameBytes;  // 10 ms
constexpr double kSpanMs = 100.0;
constexpr DWORD kSpanFrames = 4800;
constexpr DWORD kStartBytes = 2 * kPeriodBytes;
constexpr LONGLONG kMs = 1'000'000;  // in nanoseconds

std::atomic<LONGLONG> g_now = 0;

// What a test decides and sees of the sound system, which belongs to the renderer.
struct SScript {
  bool opens = true;
  bool isVirtual = false;
  std::atomic<bool> lost = false;
  std::atomic<int> running = 0;
  IRkSoundSource* source = nullptr;
  std::vector<BYTE> taken;
  size_t takenAtStop = 0;
};

class CScriptedOutput final : public IRkSoundOutput {
 public:
  explicit CScriptedOutput(SScript& script) : m_script(script) {}
  bool Open(const SRkWaveFormatInfo&, IRkSoundSource& source) override {
    m_script.source = &source;
    return m_script.opens;
  }
  void Start() override { ++m_script.running; }
  void Stop() override {
    m_script.running = 0;
    m_script.takenAtStop = m_script.taken.size();
  }
  bool IsLost() override { return m_script.lost; }
  DWORD LatencyFrames() const override { return 0; }
  bool IsVirtual() const override { return m_script.isVirtual; }

 private:
  SScript& m_script;
};

struct CNoSource : IRkSoundSource {
  void Pull(BYTE*, DWORD) override {}
};

// A sound system of scripted devices: each call of the factory gives the next.
TEST(recovering_sound_output, opens_another_device_in_place_of_a_lost_one_and_starts_it) {
  CNoSource source;
  SScript devices[4];
  devices[1].opens = devices[2].opens = false;
  std::atomic<size_t> made = 0;
  CRkRecoveringSoundOutput output(
      [&] { return std::make_unique<CScriptedOutput>(devices[std::min<size_t>(made++, 3)]); }, 1);
  ASSERT_TRUE(output.Open(kTestAudio, source));
  output.Start();
  EXPECT_FALSE(output.IsLost());
  devices[0].lost = true;
  EXPECT_TRUE(output.IsLost());
  EXPECT_TRUE(WaitUntil([&] { return !output.IsLost(); }));
  EXPECT_EQ(made, 4u);
  EXPECT_EQ(devices[3].running, 1);
  output.Stop();
  EXPECT_EQ(devices[3].running, 0);

  devices[3].opens = false;  // ends while it looks for one
  devices[3].lost = true;
  EXPECT_TRUE(output.IsLost());
}

TEST(recovering_sound_output, is_given_up_while_a_system_holds_its_thread) {
  CNoSource source;
  struct SShared {
    SScript device;
    CRkHandle letGo = CRkHandle::ManualResetEvent();
    std::atomic<int> made = 0;
  };
  const auto shared = std::make_shared<SShared>();
  {
    CRkRecoveringSoundOutput output(
        [shared] {
          if (shared->made++ > 0) RkWait(shared->letGo, INFINITE);
          return std::make_unique<CScriptedOutput>(shared->device);
        },
        1, 1);
    ASSERT_TRUE(output.Open(kTestAudio, source));
    output.Start();
    shared->device.lost = true;
    EXPECT_TRUE(output.IsLost());
    EXPECT_TRUE(WaitUntil([&] { return shared->made == 2; }));
  }
  EXPECT_EQ(shared->device.running, 1);
  SetEvent(shared->letGo);  // what it opens now is never started
  EXPECT_TRUE(WaitUntil([&] { return shared.use_count() == 1; }));
  EXPECT_EQ(shared->device.running, 1);
}

class audio_renderer : public testing::Test {
 protected:
  void Create(DWORD startBytes = kStartBytes) {
    m_renderer = CRkAudioDirectSound::Create(
        kTestAudio, kSpanMs, startBytes, std::make_unique<CScriptedOutput>(m_script),
        CRkRef<IRkAudioMonitor>::Retain(m_monitor.Get()), [] { return g_now.load(); });
    ASSERT_TRUE(m_renderer);
  }
  // Creates it, writes the sound, plays, and has the card pull once.
  void Begin(DWORD bytes, DWORD startBytes = kStartBytes) {
    Create(startBytes);
    Write(bytes);
    EXPECT_TRUE(m_renderer->Play());
    Pull();
  }
  void Write(DWORD bytes) {
    m_renderer->WriteSample(MakeSound(m_written, bytes).Get(), m_written);
    m_written += bytes;
  }
  void Pull(DWORD bytes = kPeriodBytes) {
    const size_t begin = m_script.taken.size();
    m_script.taken.resize(begin + bytes);
    m_script.source->Pull(m_script.taken.data() + begin, bytes);
  }
  void PullAfter10Ms() {
    g_now += 10 * kMs;
    Pull();
  }
  double Position() {
    double position = 0.0;
    m_renderer->GetPlayPosition(&position);
    return position;
  }

  // The position wraps at the span.
  bool IsAt(double milliseconds) {
    const double position = Position();
    return position < kSpanMs && std::abs(std::remainder(position - milliseconds, kSpanMs)) < 1e-6;
  }

  SScript m_script;
  CRkRef<CSoundRecorder> m_monitor = MakeFake<CSoundRecorder>();
  CRkRef<IRkAudioDirectSound> m_renderer;
  ULONGLONG m_written = 0;
};

TEST_F(audio_renderer, plays_once_enough_is_written_and_then_silence) {
  Create();
  EXPECT_EQ(m_renderer->GetBufferDuration(), kSpanMs);
  EXPECT_EQ(m_monitor->Created(), 1);
  EXPECT_FALSE(m_renderer->Play());
  Write(kStartBytes - kFrameBytes);
  EXPECT_FALSE(m_renderer->Play());
  EXPECT_EQ(m_script.running, 0);
  Write(kFrameBytes);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(m_renderer->Play());
  EXPECT_EQ(m_script.running, 1);

  for (int i = 0; i < 25; ++i) {
    Pull();
    EXPECT_TRUE(IsAt(10.0 * i));
    g_now += 10 * kMs;
  }
  EXPECT_EQ(m_script.taken, StreamThenSilence(kStartBytes, 25 * kPeriodBytes));
  EXPECT_EQ(m_monitor->Heard(), m_script.taken);
}

TEST_F(audio_renderer, skips_sound_that_comes_late_cuts_what_comes_early_and_is_silent_elsewhere) {
  Create(0);
  EXPECT_TRUE(m_renderer->Play());
  const auto write = [this](ULONGLONG beginFrame, DWORD frames) {
    const ULONGLONG begin = beginFrame * kFrameBytes;
    m_renderer->WriteSample(MakeSound(begin, frames * kFrameBytes).Get(), begin);
  };
  Pull(10 * kFrameBytes);
  write(0, 8);  // wholly late
  write(6, 8);  // its first four frames are late
  Pull(6 * kFrameBytes);
  write(kSpanFrames + 10, 20);  // fits up to 16 frames past the span
  write(kSpanFrames + 16, 4);   // wholly early
  write(20, 4);                 // before what is written already
  m_renderer->WriteSample(MakeSound(0, 8 * kFrameBytes).Get(), ~ULONGLONG{0} - 2);
  Pull((kSpanFrames + 4) * kFrameBytes);  // more at once than the span
  Pull(kSpanFrames * kFrameBytes);

  // Late, cut, and wholly too early; silence is no loss.
  EXPECT_EQ(m_renderer->GetDroppedSampleCount(), 8u + 4 + 14 + 4 + 8);
  const auto silence = MakeSound(0, kPeriodBytes);
  std::fill_n(CRkAudioLock(*silence).Data(), kPeriodBytes, BYTE{0});
  m_renderer->WriteSample(silence.Get(), 0);
  EXPECT_EQ(m_renderer->GetDroppedSampleCount(), 38u);

  std::vector<BYTE> expected(m_script.taken.size(), 0);
  for (const auto& [first, end] : {std::pair{10u, 14u}, {20u, 24u}, {kSpanFrames + 10, kSpanFrames + 16}}) {
    for (DWORD i = first * kFrameBytes; i < end * kFrameBytes; ++i) expected[i] = StreamByte(i);
  }
  EXPECT_EQ(m_script.taken, expected);
}

TEST_F(audio_renderer, starts_over_at_byte_0_after_a_reset) {
  Begin(4 * kPeriodBytes);
  PullAfter10Ms();
  m_renderer->Reset();  // cuts what is left
  EXPECT_EQ(m_script.running, 0);
  EXPECT_EQ(Position(), 0.0);
  EXPECT_FALSE(m_renderer->Play());

  m_written = 0;
  m_script.taken.clear();
  Write(kStartBytes);
  EXPECT_TRUE(m_renderer->Play());
  EXPECT_EQ(m_script.running, 1);
  Pull();
  PullAfter10Ms();
  PullAfter10Ms();
  EXPECT_EQ(m_script.taken, StreamThenSilence(kStartBytes, 3 * kPeriodBytes));
  EXPECT_NEAR(Position(), 20.0, 1e-6);
}

TEST_F(audio_renderer, waits_for_a_virtual_card_that_wakes_late_and_hands_it_the_rest_when_it_stops) {
  m_script.isVirtual = true;
  Begin(9 * kPeriodBytes + kFrameBytes);
  g_now += 2000 * kMs;
  EXPECT_NEAR(Position(), 10.0, 1e-6);
  Pull();
  for (int i = 0; i < 2; ++i) {
    m_renderer->Stop();
    EXPECT_EQ(m_monitor->Heard(), StreamThenSilence(m_written, m_written));
  }
  EXPECT_EQ(m_script.running, 0);
  EXPECT_FALSE(m_renderer->Play());
  const double stoppedAt = Position();
  g_now += 50 * kMs;
  EXPECT_EQ(Position(), stoppedAt);
}

TEST_F(audio_renderer, waits_at_a_stop_until_the_card_has_taken_the_last_byte) {
  Begin(9 * kPeriodBytes + kFrameBytes);
  auto stopped = std::async(std::launch::async, [&] { m_renderer->Stop(); });
  while (m_script.taken.size() < m_written) PullAfter10Ms();
  stopped.get();
  EXPECT_EQ(m_script.takenAtStop, 10 * kPeriodBytes);
  EXPECT_EQ(m_monitor->Heard(), StreamThenSilence(m_written, 10 * kPeriodBytes));
}

TEST_F(audio_renderer, follows_the_clock_while_the_card_takes_no_sound_and_counts_what_is_lost) {
  CLogRecorder log;
  Begin(10 * kPeriodBytes);
  m_renderer->SetNotifyInterval(1000.0 / 62);
  g_now += 1000 * kMs;  // the process was held up: that is not the card's fault
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(Position(), 10.0, 1e-6);
    g_now += 100 * kMs;
  }
  EXPECT_NEAR(Position(), 10.0, 1e-6);
  EXPECT_FALSE(m_renderer->IsLost());
  g_now += kMs;
  EXPECT_TRUE(m_renderer->IsLost());
  EXPECT_NEAR(Position(), 10.0, 1e-6);
  g_now += 5 * kMs;
  EXPECT_NEAR(Position(), 15.0, 1e-6);
  EXPECT_TRUE(m_renderer->WaitForNotify(0));
  g_now += 40 * kMs;
  EXPECT_NEAR(Position(), 55.0, 1e-6);
  EXPECT_EQ(m_monitor->Heard().size(), kPeriodBytes);
  EXPECT_EQ(log.Lines().size(), 1u);

  // The card comes back where the clock has come to; what was due meanwhile is dropped.
  g_now += 5 * kMs;
  Pull();
  std::vector<BYTE> expected = StreamThenSilence(10 * kPeriodBytes, 10 * kPeriodBytes);
  expected.erase(expected.begin() + kPeriodBytes, expected.begin() + 6 * kPeriodBytes);
  expected.resize(2 * kPeriodBytes);
  EXPECT_EQ(m_script.taken, expected);
  EXPECT_FALSE(m_renderer->IsLost());
  EXPECT_EQ(m_renderer->GetDroppedSampleCount(), 5u * 480);
  PullAfter10Ms();
  EXPECT_NEAR(Position(), 70.0, 1e-6);

  m_script.lost = true;  // unplugged: known at once
  for (int i = 1; i <= 50; ++i) {
    g_now += 2 * kMs;
    EXPECT_TRUE(IsAt(70.0 + 2.0 * i));
  }
  m_written = 20 * kPeriodBytes;
  Write(kPeriodBytes);
  EXPECT_EQ(m_renderer->GetLossCount(), 2u);
  m_renderer->Stop();  // waits for nobody
  EXPECT_EQ(m_script.running, 0);
  EXPECT_EQ(m_renderer->GetDroppedSampleCount(), 8u * 480);  // with what the stop left unplayed
  m_renderer->Reset();                                       // the outage goes on
  m_written = 0;
  Write(kStartBytes);
  ASSERT_TRUE(m_renderer->Play());
  EXPECT_TRUE(m_renderer->IsLost());
  EXPECT_EQ(m_renderer->GetLossCount(), 2u);
  EXPECT_EQ(log.Lines().size(), 1u);
}

TEST_F(audio_renderer, lets_two_callers_count_every_wrap_of_a_long_jump) {
  Begin(kStartBytes);
  for (int i = 0; i < 33; ++i) PullAfter10Ms();  // 3.3 spans in which nobody asks
  double positions[2] = {};
  int wraps[2] = {};
  for (int call = 0; call < 20; ++call) {
    const double last = std::exchange(positions[call % 2], Position());
    if (positions[call % 2] < last) ++wraps[call % 2];
  }
  for (int caller = 0; caller < 2; ++caller)
    EXPECT_NEAR(wraps[caller] * kSpanMs + positions[caller], 330.0, 1e-6);

  m_written = 34 * kPeriodBytes;
  Write(kPeriodBytes);
  PullAfter10Ms();
  EXPECT_EQ(m_script.taken.back(), StreamByte(m_written - 1));
}

TEST_F(audio_renderer, is_not_created_for_what_it_cannot_play) {
  const auto creates = [this](const SRkWaveFormatInfo& format, double bufferMs, DWORD startBytes) {
    return static_cast<bool>(CRkAudioDirectSound::Create(
        format, bufferMs, startBytes, std::make_unique<CScriptedOutput>(m_script), {}, &RkMonotonicNow));
  };
  EXPECT_TRUE(creates(kTestAudio, 10.0, kPeriodBytes));
  EXPECT_FALSE(creates(kTestAudio, 10.0, kPeriodBytes + 1));
  for (const double bufferMs : {0.0, -1.0, 0.001, 1e300, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_FALSE(creates(kTestAudio, bufferMs, 0)) << bufferMs;
  EXPECT_FALSE(creates(RkMakeWaveFormat(2, 0, 16), 10.0, 0));
  SRkWaveFormatInfo floats = RkMakeWaveFormat(2, 48000, 32);
  floats.formatType = 3;
  EXPECT_FALSE(creates(floats, 10.0, 0));
  m_script.opens = false;
  EXPECT_FALSE(creates(kTestAudio, 10.0, 0));
}

}  // namespace
