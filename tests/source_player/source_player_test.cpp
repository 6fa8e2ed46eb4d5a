#include <gtest/gtest.h>

#include "tests/support/RkFakes.h"

namespace {

using Ranges = std::vector<IRkClipTrimInfo::SRkTrimInOut>;

// Records each call and its thread; may react to a sample or to the end.
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

  std::vector<std::string> Events() {
    std::lock_guard lock(m_mutex);
    return m_events;
  }
  std::vector<std::string> TakeEvents() {
    std::lock_guard lock(m_mutex);
    return std::exchange(m_events, {});
  }
  int Count(const std::string& event) {
    const auto events = Events();
    return static_cast<int>(std::count(events.begin(), events.end(), event));
  }
  std::vector<DWORD> Threads() {
    std::lock_guard lock(m_mutex);
    return m_threads;
  }

 private:
  void Write(std::string event) {
    std::lock_guard lock(m_mutex);
    m_events.push_back(std::move(event));
    m_threads.push_back(GetCurrentThreadId());
  }
  std::mutex m_mutex;
  std::vector<std::string> m_events;
  std::vector<DWORD> m_threads;
};

CRkRef<IRkClipTrimInfo> MakeTrim(const Ranges& ranges) {
  CRkRef<IRkClipTrimInfo> info;
  RkCreateClipTrimInfo(ranges, info.Out());
  return info;
}

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
    EXPECT_TRUE(RkCreateClipSourcePlayer(kTestVideo, RkMakeWaveFormat(0, 48000, 16), m_pool.Get(),
                                         m_callback.Get(), m_player.Out()));
  }
  ~source_player() override {
    m_callback->onSample = nullptr;
    m_callback->onEnd = nullptr;
    m_player.Reset();
    m_callback.Reset();
    m_pool.Reset();
    EXPECT_EQ(g_liveFakes, 0);
  }

  // A real element, since trimmed play rests on what it presents.
  void OpenPattern(UINT frames) {
    CRkRef<IRkClipElement> clip;
    ASSERT_TRUE(RkCreatePatternClipElement(frames, clip.Out()));
    ASSERT_TRUE(m_player->Open(clip.Get()));
    EXPECT_EQ(m_callback->TakeEvents(), std::vector<std::string>{"0"});
  }
  std::vector<std::string> EventsOfRun() {
    EXPECT_TRUE(WaitUntil([&] { return m_callback->Count("end") > 0; }));
    EXPECT_EQ(m_player->GetState(), RkPlayer_Stopped);
    return m_callback->TakeEvents();
  }
  static std::vector<std::string> Run(const std::vector<std::pair<UINT, UINT>>& spans) {
    std::vector<std::string> events = {"start"};
    for (const auto& [first, end] : spans) {
      for (UINT i = first; i < end; ++i) events.push_back(std::to_string(i));
    }
    events.emplace_back("end");
    return events;
  }

  CRkRef<CFakePool> m_pool = MakeFake<CFakePool>();
  CRkRef<CFakePlayerCallback> m_callback = MakeFake<CFakePlayerCallback>();
  CRkRef<IRkClipSourcePlayer> m_player;
};

TEST_F(source_player, plays_on_its_worker_and_shows_single_frames_on_the_calling_thread) {
  OpenPattern(6);
  ASSERT_TRUE(m_player->Play(2, FALSE));
  EXPECT_EQ(EventsOfRun(), Run({{2, 6}}));
  EXPECT_EQ(m_player->GetPosition(), 5U);
  const auto threads = m_callback->Threads();
  EXPECT_NE(threads.back(), GetCurrentThreadId());
  EXPECT_EQ(threads[1], threads.back());

  EXPECT_TRUE(m_player->Seek(4));
  EXPECT_EQ(m_player->GetPosition(), 4U);
  EXPECT_FALSE(m_player->Seek(6)) << "past the end";
  EXPECT_EQ(m_callback->TakeEvents(), std::vector<std::string>{"4"});
  EXPECT_EQ(m_callback->Threads().back(), GetCurrentThreadId());
}

TEST_F(source_player, trimmed_play_begins_where_the_ranges_let_it_and_never_stamps_a_gap) {
  OpenPattern(40);
  const auto trim = MakeTrim({{10, 13}, {20, 20}, {30, 33}});
  ASSERT_TRUE(m_player->SetTrimInfo(trim.Get()));
  trim->CopyFrom(MakeTrim({{3, 5}}).Get());  // the player keeps a copy
  const std::vector<std::pair<UINT, std::vector<std::pair<UINT, UINT>>>> cases = {
      {0, {{10, 13}, {30, 33}}},  {10, {{10, 13}, {30, 33}}}, {11, {{11, 13}, {30, 33}}},
      {13, {{30, 33}}},           {20, {{30, 33}}},           {32, {{32, 33}}},
      {33, {{10, 13}, {30, 33}}}, {45, {{10, 13}, {30, 33}}}};
  for (const auto& [start, spans] : cases) {
    ASSERT_TRUE(m_player->PlayTrimmed(start, FALSE));
    EXPECT_EQ(EventsOfRun(), Run(spans)) << "start " << start;
  }
  ASSERT_TRUE(m_player->Play(38, FALSE));
  EXPECT_EQ(EventsOfRun(), Run({{38, 40}}));
  ASSERT_TRUE(m_player->SetTrimInfo(trim.Get()));
  ASSERT_TRUE(m_player->PlayTrimmed(0, FALSE));
  EXPECT_EQ(EventsOfRun(), Run({{3, 5}}));
}

TEST_F(source_player, loops_from_the_first_presented_frame_until_stopped) {
  OpenPattern(40);
  ASSERT_TRUE(m_player->SetTrimInfo(MakeTrim({{10, 12}, {30, 31}}).Get()));
  for (const bool trimmed : {true, false}) {
    const std::vector<std::string> expected =
        trimmed ? std::vector<std::string>{"start", "30", "10", "11", "30", "10", "11", "30"}
                : std::vector<std::string>{"start", "39", "0", "1"};
    ASSERT_TRUE(trimmed ? m_player->PlayTrimmed(30, TRUE) : m_player->Play(39, TRUE));
    ASSERT_TRUE(WaitUntil([&] { return m_callback->Events().size() > expected.size(); }));
    m_player->Stop();
    const auto events = EventsOfRun();
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), events.begin()));
    EXPECT_EQ(events.back(), "end");
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
  ASSERT_TRUE(m_player->PlayTrimmed(0, FALSE));
  EventsOfRun();
  EXPECT_EQ(heldInRun, clip->own.Get());
  EXPECT_EQ(clip->held, nullptr);

  clip->own.Reset();
  ASSERT_TRUE(m_player->Open(clip.Get()));
  const auto host = MakeTrim({{5, 6}});
  for (const bool trimmed : {true, false}) {
    clip->SetTrimInfo(host.Get());
    heldInRun = nullptr;
    ASSERT_TRUE(trimmed ? m_player->PlayTrimmed(0, FALSE) : m_player->Play(0, FALSE));
    EventsOfRun();
    EXPECT_EQ(heldInRun, trimmed ? nullptr : host.Get()) << "without ranges, trimmed play lifts the host's";
    EXPECT_EQ(clip->held, nullptr);
  }
  m_player->Close();
}

TEST_F(source_player, a_clip_that_cannot_be_read_ends_the_run_and_one_that_cannot_be_opened_leaves_none) {
  auto clip = MakeFake<CFakeElement>(10);
  ASSERT_TRUE(m_player->Open(clip.Get()));
  m_callback->TakeEvents();

  clip->unreadableFrom = 0;
  ASSERT_TRUE(m_player->Play(0, TRUE));
  EXPECT_EQ(EventsOfRun(), Run({}));

  clip->unreadableFrom = 4;
  ASSERT_TRUE(m_player->Play(1, FALSE));
  EXPECT_EQ(EventsOfRun(), Run({{1, 4}}));

  // The way back to the beginning of the loop fails.
  clip->unreadableFrom = 10;
  m_callback->onSample = [&](UINT position) {
    if (position == 9) clip->unreadableFrom = 0;
  };
  ASSERT_TRUE(m_player->Play(8, TRUE));
  EXPECT_EQ(EventsOfRun(), Run({{8, 10}}));

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
  ASSERT_TRUE(m_player->Play(0, FALSE));
  EXPECT_EQ(EventsOfRun(), Run({{0, 4}}));
}

TEST_F(source_player, what_cannot_be_done_is_refused_and_keeps_the_ranges) {
  auto clip = MakeFake<CFakeElement>(40);
  ASSERT_TRUE(m_player->Open(clip.Get()));
  const auto trim = MakeTrim({{10, 20}, {30, 40}});
  ASSERT_TRUE(m_player->SetTrimInfo(trim.Get()));
  clip->readGate.Shut();
  ASSERT_TRUE(m_player->PlayTrimmed(25, TRUE));
  EXPECT_EQ(m_player->GetPosition(), 25U) << "before the first sample";
  EXPECT_FALSE(m_player->SetTrimInfo(nullptr));
  EXPECT_EQ(m_player->GetState(), RkPlayer_Playing);
  clip->readGate.Open();
  ASSERT_TRUE(WaitUntil([&] { return m_callback->Count("30") > 0; }));
  EXPECT_FALSE(m_player->Seek(40));
  EXPECT_EQ(m_player->GetState(), RkPlayer_Stopped);
  EXPECT_EQ(m_callback->TakeEvents().back(), "end");

  m_player->Close();
  EXPECT_FALSE(m_player->Play(0, FALSE) || m_player->PlayTrimmed(0, FALSE) || m_player->Seek(0));
  EXPECT_FALSE(m_player->SetTrimInfo(trim.Get()) || m_player->Open(nullptr));
  EXPECT_TRUE(m_callback->TakeEvents().empty());
}

TEST_F(source_player, plays_again_from_the_end_callback) {
  OpenPattern(3);
  std::atomic<int> runs = 1;
  m_callback->onEnd = [&] {
    if (runs < 4 && m_player->Play(0, FALSE)) ++runs;
  };
  ASSERT_TRUE(m_player->Play(0, FALSE));
  ASSERT_TRUE(WaitUntil([&] { return m_callback->Count("end") == 4; }));
  std::vector<std::string> expected;
  for (int i = 0; i < 4; ++i) expected.insert(expected.end(), {"start", "0", "1", "2", "end"});
  EXPECT_EQ(m_callback->Events(), expected);
}

TEST_F(source_player, a_run_that_outlives_its_stop_is_never_joined_by_a_second) {
  auto clip = MakeFake<CFakeElement>(10);
  ASSERT_TRUE(m_player->Open(clip.Get()));
  m_callback->TakeEvents();
  clip->readGate.Shut();
  ASSERT_TRUE(m_player->Play(0, FALSE));
  ASSERT_TRUE(WaitUntil([&] { return clip->readGate.SomebodyWaits(); }));
  m_player->Stop();  // gives up after its 5 s
  ASSERT_TRUE(m_player->Play(7, FALSE));
  EXPECT_EQ(clip->readers, 1);
  clip->readGate.Open();
  ASSERT_TRUE(WaitUntil([&] { return m_callback->Count("end") == 2; }));
  EXPECT_EQ(m_callback->Events(), (std::vector<std::string>{"start", "end", "start", "7", "8", "9", "end"}));
  EXPECT_EQ(m_player->GetState(), RkPlayer_Stopped);
  m_player->Close();
}

TEST_F(source_player, released_while_playing_ends_its_run_and_lets_everything_go) {
  auto clip = MakeFake<CFakeElement>(1000000);
  ASSERT_TRUE(m_player->Open(clip.Get()));
  ASSERT_TRUE(m_player->Play(0, TRUE));
  ASSERT_TRUE(WaitUntil([&] { return clip->reads > 5; }));
  m_player.Reset();
  EXPECT_EQ(clip->closes, 1);
  EXPECT_FALSE(clip->misused);
  EXPECT_EQ(m_callback->Count("end"), 1);
}

}  // namespace
