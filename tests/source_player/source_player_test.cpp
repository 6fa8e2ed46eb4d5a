#include <gtest/gtest.h>

#include "base/RkCreateObject.h"
#include "source_player/CRkClipSourcePlayer.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

namespace {

// Logs each call as "start 0 1 2 end", and its thread; may react to a sample or to the end.
class CFakePlayerCallback : public CFake<IRkClipOutputCallback> {
 public:
  std::function<void(UINT)> onSample;
  std::function<void()> onEnd;

  void OnPlayStart() override { Write("start"); }
  void OnPlaySample(IRkAVPlaySample* sample) override {
    const UINT position = sample->GetPosition();
    Write(std::to_string(position));
    if (onSample) onSample(position);
  }
  void OnPlayEnd() override {
    if (onEnd) onEnd();
    Write("end");
  }

  std::string Log() {
    std::lock_guard lock(m_mutex);
    return m_log;
  }
  std::string TakeLog() {
    std::lock_guard lock(m_mutex);
    return std::exchange(m_log, {});
  }
  std::atomic<DWORD> lastThread = 0;

 private:
  void Write(const std::string& event) {
    std::lock_guard lock(m_mutex);
    lastThread = GetCurrentThreadId();
    m_log += (m_log.empty() ? "" : " ") + event;
  }
  std::mutex m_mutex;
  std::string m_log;
};

// Records the trim information that it holds, and trims nothing.
class CTrimmedElement : public CFakeElement {
 public:
  using CFakeElement::CFakeElement;
  std::atomic<IRkClipTrimInfo*> held = nullptr;
  CRkRef<IRkClipTrimInfo> own;

  void GetTrimInfo(IRkClipTrimInfo** info) override { own.CopyTo(info); }
  void SetTrimInfo(IRkClipTrimInfo* info) override { held = info; }
};

class source_player : public testing::Test {
 protected:
  source_player() {
    auto* created = new CRkClipSourcePlayer(kTestVideo, RkMakeWaveFormat(0, 48000, 16), m_waits);
    EXPECT_TRUE(RkInitializeAndHandOut(created, m_player.Out(), m_pool.Get(), m_callback.Get()));
  }
  ~source_player() override {
    m_player.Reset();
    m_callback.Reset();
    m_pool.Reset();
    EXPECT_EQ(g_liveFakes, 0);
  }

  // A real element, since trimmed play relies on what it presents.
  void OpenPattern(UINT frames) {
    ASSERT_TRUE(m_player->Open(MakePattern(frames).Get()));
    EXPECT_EQ(m_callback->TakeLog(), "0");
  }
  CRkRef<CFakeElement> OpenFake(UINT frames) {
    auto clip = MakeFake<CFakeElement>(frames);
    EXPECT_TRUE(m_player->Open(clip.Get()));
    m_callback->TakeLog();
    return clip;
  }
  // Waits for the end of a run that was `started`.
  std::string LogOfRun(BOOL started = TRUE) {
    EXPECT_TRUE(started && WaitUntil([&] { return m_callback->Log().ends_with(" end"); }));
    EXPECT_EQ(m_player->GetState(), RkPlayer_Stopped);
    return m_callback->TakeLog();
  }

  SRkPlayerWaits m_waits;
  CRkRef<CFakePool> m_pool = MakeFake<CFakePool>();
  CRkRef<CFakePlayerCallback> m_callback = MakeFake<CFakePlayerCallback>();
  CRkRef<IRkClipSourcePlayer> m_player;
};

TEST_F(source_player, plays_on_its_worker_and_shows_single_frames_on_the_calling_thread) {
  OpenPattern(6);
  m_callback->onEnd = [&] { EXPECT_EQ(m_player->GetState(), RkPlayer_Stopped); };
  EXPECT_EQ(LogOfRun(m_player->Play(2, FALSE)), "start 2 3 4 5 end");
  EXPECT_EQ(m_player->GetPosition(), 5U);
  EXPECT_NE(m_callback->lastThread, GetCurrentThreadId());
  EXPECT_TRUE(m_player->Seek(4));
  EXPECT_EQ(m_player->GetPosition(), 4U);
  EXPECT_EQ(m_callback->TakeLog(), "4");
  EXPECT_EQ(m_callback->lastThread, GetCurrentThreadId());
}

TEST_F(source_player, trimmed_play_begins_where_the_ranges_let_it_and_never_stamps_a_gap) {
  OpenPattern(40);
  const auto trim = MakeTrim({{10, 13}, {20, 20}, {30, 33}});
  ASSERT_TRUE(m_player->SetTrimInfo(trim.Get()));
  trim->CopyFrom(MakeTrim({{3, 5}}).Get());  // the player keeps a copy
  const std::pair<UINT, std::string> cases[] = {{0, "10 11 12 30 31 32"},  {10, "10 11 12 30 31 32"},
                                                {11, "11 12 30 31 32"},    {13, "30 31 32"},
                                                {20, "30 31 32"},          {32, "32"},
                                                {33, "10 11 12 30 31 32"}, {45, "10 11 12 30 31 32"}};
  for (const auto& [start, positions] : cases) {
    EXPECT_EQ(LogOfRun(m_player->PlayTrimmed(start, FALSE)), "start " + positions + " end");
  }
  EXPECT_EQ(LogOfRun(m_player->Play(38, FALSE)), "start 38 39 end");
  ASSERT_TRUE(m_player->SetTrimInfo(trim.Get()));
  EXPECT_EQ(LogOfRun(m_player->PlayTrimmed(0, FALSE)), "start 3 4 end");
}

TEST_F(source_player, loops_from_the_first_presented_frame_until_stopped) {
  OpenPattern(40);
  ASSERT_TRUE(m_player->SetTrimInfo(MakeTrim({{10, 12}, {39, 41}}).Get()));  // past the clip's end
  m_callback->onEnd = [&] { EXPECT_FALSE(m_player->Play(0, FALSE)) << "while a stop waits"; };
  for (const bool trimmed : {true, false}) {
    const std::string expected = trimmed ? "start 39 10 11 39 10 11 39" : "start 39 0 1";
    ASSERT_TRUE(trimmed ? m_player->PlayTrimmed(39, TRUE) : m_player->Play(39, TRUE));
    EXPECT_TRUE(WaitUntil([&] { return m_callback->Log().starts_with(expected); }));
    m_player->Stop();
    EXPECT_TRUE(LogOfRun().ends_with(" end"));
  }
}

TEST_F(source_player, takes_the_clips_own_ranges_over_and_lends_them_back_only_for_a_run) {
  auto clip = MakeFake<CTrimmedElement>(10);
  clip->own = MakeTrim({{2, 4}});
  clip->SetTrimInfo(clip->own.Get());
  ASSERT_TRUE(m_player->Open(clip.Get()));
  EXPECT_EQ(clip->held, nullptr);
  std::atomic<IRkClipTrimInfo*> heldInRun = nullptr;
  m_callback->onSample = [&](UINT) { heldInRun = clip->held.load(); };
  LogOfRun(m_player->PlayTrimmed(0, FALSE));
  EXPECT_EQ(heldInRun, clip->own.Get());
  EXPECT_EQ(clip->held, nullptr);
  clip->own.Reset();
  ASSERT_TRUE(m_player->Open(clip.Get()));
  clip->SetTrimInfo(MakeTrim({{5, 6}}).Get());
  LogOfRun(m_player->PlayTrimmed(0, FALSE));
  EXPECT_EQ(heldInRun, nullptr) << "without ranges of its own it lifts the host's";
  m_player->Close();
}

TEST_F(source_player, a_clip_that_cannot_be_read_ends_the_run_and_one_that_cannot_be_opened_leaves_none) {
  const auto clip = OpenFake(10);
  clip->unreadableFrom = 0;
  EXPECT_EQ(LogOfRun(m_player->Play(0, TRUE)), "start end");
  clip->unreadableFrom = 4;
  EXPECT_EQ(LogOfRun(m_player->Play(1, FALSE)), "start 1 2 3 end");

  // The first frame cannot be read again for the loop.
  clip->unreadableFrom = 10;
  m_callback->onSample = [&](UINT position) {
    if (position == 9) clip->unreadableFrom = 0;
  };
  EXPECT_EQ(LogOfRun(m_player->Play(8, TRUE)), "start 8 9 end");

  auto broken = MakeFake<CFakeElement>(10);
  broken->canOpen = false;
  EXPECT_FALSE(m_player->Open(broken.Get()));
  EXPECT_FALSE(m_player->Play(0, FALSE));
  EXPECT_EQ(clip->closes, 1);
}

TEST_F(source_player, a_stop_during_a_callback_ends_the_run_before_the_next_sample) {
  OpenPattern(100);
  m_callback->onSample = [&](UINT position) {
    EXPECT_TRUE(m_player->Play(50, FALSE)) << "without effect while playing";
    if (position == 3) m_player->Stop();
  };
  EXPECT_EQ(LogOfRun(m_player->Play(0, FALSE)), "start 0 1 2 3 end");
}

TEST_F(source_player, what_cannot_be_done_is_refused_and_keeps_the_ranges) {
  const auto clip = OpenFake(40);
  const auto trim = MakeTrim({{10, 20}, {30, 40}});
  ASSERT_TRUE(m_player->SetTrimInfo(trim.Get()));
  clip->readGate.Shut();
  ASSERT_TRUE(m_player->PlayTrimmed(25, TRUE));
  EXPECT_EQ(m_player->GetPosition(), 25U) << "before the first sample";
  EXPECT_FALSE(m_player->SetTrimInfo(nullptr));
  EXPECT_EQ(m_player->GetState(), RkPlayer_Playing);
  clip->readGate.Open();
  ASSERT_TRUE(WaitUntil([&] { return m_callback->Log().find(" 30") != std::string::npos; }));
  EXPECT_FALSE(m_player->Seek(40));
  EXPECT_EQ(m_player->GetState(), RkPlayer_Stopped);
  EXPECT_TRUE(m_callback->TakeLog().ends_with(" end"));

  m_player->Close();
  EXPECT_FALSE(m_player->Play(0, FALSE) || m_player->PlayTrimmed(0, FALSE) || m_player->Seek(0));
  EXPECT_FALSE(m_player->SetTrimInfo(trim.Get()) || m_player->Open(nullptr));
  EXPECT_EQ(m_callback->TakeLog(), "");
}

TEST_F(source_player, a_run_that_outlives_its_stop_is_never_joined_by_a_second) {
  const auto clip = OpenFake(10);
  clip->readGate.Shut();
  ASSERT_TRUE(m_player->Play(0, FALSE));
  ASSERT_TRUE(WaitUntil([&] { return clip->readGate.SomebodyWaits(); }));
  EXPECT_EQ(m_waits.stopMs, 5000u);
  m_waits.stopMs = 1;
  m_player->Stop();  // runs into its time-out
  m_waits.stopMs = kTestDeadlineMs;
  ASSERT_TRUE(m_player->Play(7, FALSE));
  m_callback->onSample = [&](UINT) { EXPECT_EQ(m_player->GetState(), RkPlayer_Playing); };
  EXPECT_EQ(clip->readers, 1);
  clip->readGate.Open();
  ASSERT_TRUE(WaitUntil([&] { return m_callback->Log().ends_with("9 end"); }));
  EXPECT_EQ(m_callback->Log(), "start end start 7 8 9 end");
  EXPECT_EQ(m_player->GetState(), RkPlayer_Stopped);
  m_player->Close();
}

TEST_F(source_player, a_release_while_playing_ends_the_run_and_releases_everything) {
  const auto clip = OpenFake(1000000);
  ASSERT_TRUE(m_player->Play(0, TRUE));
  ASSERT_TRUE(WaitUntil([&] { return clip->reads > 5; }));
  m_player.Reset();
  EXPECT_EQ(clip->closes, 1);
  EXPECT_FALSE(clip->misused);
  EXPECT_TRUE(m_callback->Log().ends_with(" end"));
}

}  // namespace
