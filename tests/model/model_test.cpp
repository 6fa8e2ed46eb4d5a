// A host takes random steps, and an oracle predicts every answer. A seed draws all the steps. Each is taken
// on a thread of its own, and the test waits for it, so a seed always gives the same play. Only two things
// overlap: a SwitchPlay waits over any number of steps, and a load runs beside a delivery.
//
// A failing seed is printed. Replay it, or run longer:
//   RK_MODEL_SEED=7 RK_MODEL_STEPS=5000 RkModelTests --gtest_filter='Model.*'
//   RK_MODEL_SEEDS=200 RkModelTests --gtest_filter='Model.*'

#include <map>
#include <mutex>

#include "tests/model/Oracle.h"
#include "tests/output_channel/OutputChannelTest.h"

namespace {

class Model : public OutputChannelTest {
 protected:
  void RunSeed(UINT seed, UINT steps) {
    Begin(seed);
    for (UINT step = 0; step < steps && !HasFailure(); ++step) {
      TakeStep();
      ExpectTakerWaits();
    }
    AnswerTaker();
    if (HasFailure()) PrintReplay(seed, steps);
    m_oracle.reset();
    m_channel.Reset();
    m_hook.Reset();
    EXPECT_EQ(g_liveFakes, 1) << "more than the sink is alive";
  }

 private:
  struct SStep {
    const char* name;
    UINT weight;
    void (Model::*take)();
  };
  static const SStep kSteps[];

  void Begin(UINT seed) {
    m_notify = MakeFake<CFakeNotify>();
    Create(m_notify.Get());
    m_hook = MakeFake<CFakeHook>();
    m_hook->onSample = [this](IRkAVPlaySample* sample) {
      std::lock_guard lock(m_readMutex);
      m_newestRead[CModelElement::FrameOf(*sample).list] = sample;
    };
    m_channel->SetSampleProcessor(m_hook.Get());
    m_waits.frameMs = 0;
    m_waits.preRollMs = 1;  // a list that gives too few frames is not worth waiting for
    m_waits.pauseMs = kTestDeadlineMs;
    m_random = std::make_unique<CModelRandom>(seed);
    m_oracle = std::make_unique<COracle>(kCapacity);
    m_story.clear();
  }

  void TakeStep();

  void PrintReplay(UINT seed, UINT steps) const {
    std::string story;
    const size_t first = m_story.size() > 30 ? m_story.size() - 30 : 0;
    for (size_t i = first; i < m_story.size(); ++i) story += "\n  " + m_story[i];
    ADD_FAILURE() << "replay: RK_MODEL_SEED=" << seed << " RK_MODEL_STEPS=" << steps << story;
  }
  void Tell(const std::string& what) { m_story.back() += " " + what; }

  void Expect(const SAnswer& expected, BOOL result) {
    EXPECT_EQ(result, expected.result);
    EXPECT_EQ(m_notify->Take(), expected.events);
    EXPECT_EQ(m_notify->autoSwitchAsked.exchange(0), expected.asksSink ? 1 : 0);
    UINT position = 77;
    EXPECT_TRUE(m_channel->GetPosition(&position));
    EXPECT_EQ(position, m_oracle->Position());
    EXPECT_EQ(m_channel->GetElementMode(TRUE), m_oracle->Mode(true));
    EXPECT_EQ(m_channel->GetElementMode(FALSE), m_oracle->Mode(false));
    AwaitEmptyLists();
  }
  // Until the worker of a list of which nothing can be read has tried all of it.
  void AwaitEmptyLists() {
    for (const SModelList* list : m_oracle->EmptyLists()) {
      const int tries = list->elements[0]->openTries;
      EXPECT_TRUE(WaitUntil([&] { return list->elements[0]->openTries >= tries + 3; }));
    }
  }

  template <class Work>
  static auto Begin(Work work) {
    return std::async(std::launch::async, std::move(work));
  }
  template <class Work>
  static auto Do(Work work) {
    return Begin(std::move(work)).get();
  }
  // Stopped, when an operation has cut its list off.
  using Elements = std::vector<CRkRef<CModelElement>>;
  Elements OnAir() const { return m_oracle->OnAir() ? m_oracle->OnAir()->elements : Elements(); }
  static void ExpectClosed(const Elements& elements) {
    for (const auto& element : elements) {
      EXPECT_EQ(element->opens, element->closes);
      EXPECT_FALSE(element->misused);
    }
  }

  // ---- deliverer

  CRkRef<IRkAVPlaySample> GetSample(bool comes) {
    CRkRef<IRkAVPlaySample> sample;
    m_channel->GetSample(comes ? kTestDeadlineMs : 0, sample.Out());
    // An end that was found after its last sample was taken is reported by one call without a sample.
    if (!sample && comes && m_endFoundLater) m_channel->GetSample(kTestDeadlineMs, sample.Out());
    return sample;
  }
  void ExpectSample(const CRkRef<IRkAVPlaySample>& sample, bool comes) {
    ASSERT_EQ(static_cast<bool>(sample), comes);
    if (!sample) return;
    const SModelFrame frame = CModelElement::FrameOf(*sample);
    const SModelList list = *m_oracle->OnAir();
    EXPECT_TRUE(m_oracle->Take(frame)) << frame;
    Tell(testing::PrintToString(frame));
    // The worker finds the end when it looks for the frame after this one.
    m_endFoundLater = !list.MarksItsEnd() && list.EndsWith(frame) && !m_oracle->IsPaused();
    if (m_endFoundLater) {
      EXPECT_TRUE(WaitUntil([&] { return NewestRead(list.number) != sample.Get(); }));
    }
  }
  IRkAVPlaySample* NewestRead(UINT list) {
    std::lock_guard lock(m_readMutex);
    return m_newestRead[list];
  }
  void Sample() {
    const bool comes = m_oracle->GivesSample();
    ExpectSample(Do([&] { return GetSample(comes); }), comes);
    Expect({}, TRUE);
  }
  void Look() {
    const Elements old = OnAir();
    const SAnswer expected = m_oracle->Switch(m_notify->autoSwitch);
    UINT status = 99;
    const BOOL result = Do([&] {
      CLogRecorder log;
      const BOOL switched = m_channel->SwitchChannel(&status);
      EXPECT_EQ(log.Messages(L"CRkClipOutputChannel::SwitchChannel"), expected.messages);
      return switched;
    });
    Tell("status " + std::to_string(status));
    EXPECT_EQ(status, expected.status);
    Expect(expected, result);
    if (expected.stopsOld) ExpectClosed(old);
    if (!expected.answersTaker || !m_taken.valid()) return;
    EXPECT_EQ(m_taken.get(), static_cast<int>(m_oracle->SwitchPosition()));
  }

  // ---- editor

  SModelList MakeList() {
    SModelList list = m_random->MakeList(3, 6, 12);
    if (m_random->OneIn(10)) list.repeatCount = kRkRepeatEndless;
    if (m_random->OneIn(12)) list.start = list.total;
    Tell(std::to_string(list.number) + " of " + std::to_string(list.total) + ", from " +
         std::to_string(list.start) + ", " + std::to_string(list.repeatCount) + " times");
    return list;
  }
  // A single element goes in either way.
  BOOL Insert(const SModelList& list, const Elements& elements) {
    const bool asElement = elements.size() == 1 && list.number % 2 == 0;
    auto* first = asElement ? static_cast<IRkClipElement*>(elements[0].Get()) : nullptr;
    return asElement ? m_channel->InsertClipElement(first, list.repeatCount, list.start)
                     : CueAll(elements, list.repeatCount, list.start);
  }
  // Seldom with an element that comes twice.
  void Load() {
    const SModelList list = MakeList();
    const bool twice = m_random->OneIn(15);
    auto elements = list.elements;
    if (twice) elements.push_back(elements[m_random->Below(static_cast<UINT>(elements.size()))]);
    const BOOL result = Do([&] { return Insert(list, elements); });
    Expect(m_oracle->Load(list, twice), result);
  }
  void LoadNothing() {
    Expect(m_oracle->LoadNothing(), Do([&] { return Insert({}, {}); }));
  }
  void LoadBesideDelivery() {
    const SModelList list = MakeList();
    const bool comes = m_oracle->GivesSample();
    auto loaded = Begin([&] { return Insert(list, list.elements); });
    const auto sample = Do([&] { return GetSample(comes); });
    const BOOL result = loaded.get();
    ExpectSample(sample, comes);
    Expect(m_oracle->Load(list, false), result);
  }
  void Delete() {
    Expect(m_oracle->Delete(), Do([&] { return m_channel->DeleteClip(); }));
  }

  // ---- taker

  void Request() {
    if (m_taken.valid()) return;
    m_taken = RequestSwitch();
    m_oracle->Request();
  }
  void RequestInVain() {
    if (m_taken.valid()) return;
    Do([this] { LeaveRequest(); });
    m_oracle->Request();
  }
  void ExpectTakerWaits() {
    if (!m_taken.valid()) return;
    EXPECT_EQ(m_taken.wait_for(std::chrono::seconds(0)), std::future_status::timeout)
        << "a SwitchPlay that nobody has answered";
  }
  // Without automatic switches every look answers a request.
  void AnswerTaker() {
    m_notify->autoSwitch = false;
    UINT status = 99;
    if (m_taken.valid()) m_channel->SwitchChannel(&status);
    if (m_taken.valid()) m_taken.get();
  }
  void SwitchAtOnce() {
    const Elements old = OnAir();
    const SAnswer expected = m_oracle->SwitchAtOnce();
    Expect(expected, Do([&] { return m_channel->SwitchChannelAtOnce(); }));
    if (expected.stopsOld) ExpectClosed(old);
  }
  void Play() {
    Expect(m_oracle->Play(), Do([&] { return m_channel->Play(); }));
  }
  void Stop() {
    Expect(m_oracle->Stop(), Do([&] { return m_channel->Stop(); }));
  }

  // ---- settings

  void AutoSwitch() { m_notify->autoSwitch = !m_notify->autoSwitch; }
  void RepeatCount() {
    const int count = static_cast<int>(m_random->Below(5)) - 1;
    Tell(std::to_string(count));
    Do([&] { m_channel->SetRepeatCount(count); });
    m_oracle->SetRepeatCount(count);
    Expect({}, TRUE);
  }
  void Formats() {
    const BOOL result = Do([&] {
      m_channel->SetVideoResolution(kTestVideo);
      m_channel->SetWaveFormatInfo(kTestAudio);
      m_channel->SetPlayBufferPool(nullptr);
      return m_channel->SetSampleProcessor(nullptr);  // the hook stays
    });
    Expect({FALSE}, result);
  }
  void BeginSeek() {
    if (!m_oracle->AnswersPause()) return;
    const UINT mode = m_random->Below(3);
    const BOOL result = Do([&] { return m_channel->BeginSeek(mode); });
    m_oracle->BeginSeek(mode);
    Expect({}, result);
  }
  void Seek() {
    const SModelFrame* frame = m_oracle->Seekable(m_random->Below(1000));
    if (frame == nullptr) return;
    Tell(std::to_string(frame->position));
    const BOOL result = Do([&] { return m_channel->Seek(frame->position, kTestDeadlineMs); });
    m_oracle->Seek(*frame);
    Expect({}, result);
  }
  void SeekPastTheEnd() {
    const UINT total = m_oracle->Total();
    const UINT position = total == kRkNoPosition ? total : total + m_random->Below(2);
    Expect({FALSE}, Do([&] { return m_channel->Seek(position, kTestDeadlineMs); }));
  }
  void EndSeek() {
    Do([&] { m_channel->EndSeek(); });
    m_oracle->EndSeek();
    Expect({}, TRUE);
  }
  // With several elements the worker's current one is unknown, so the mode stays the same.
  void ElementMode() {
    const bool moves = m_oracle->CanMove();
    const UINT mode = moves ? m_random->Below(3) : m_oracle->Mode(true);
    const UINT position = moves && m_random->OneIn(2) ? m_random->Below(m_oracle->Total()) : kRkNoPosition;
    Tell(std::to_string(mode) + " at " + std::to_string(position));
    Do([&] { m_channel->SetElementMode(TRUE, mode, position); });
    m_oracle->SetElementMode(mode, position);
    Do([&] { m_channel->SetElementMode(FALSE, m_oracle->Mode(false), kRkNoPosition); });
    Expect({}, TRUE);
  }

  std::unique_ptr<CModelRandom> m_random;
  std::unique_ptr<COracle> m_oracle;
  std::vector<std::string> m_story;
  std::future<int> m_taken;  // the SwitchPlay that waits
  CRkRef<CFakeHook> m_hook;
  std::mutex m_readMutex;
  std::map<UINT, IRkAVPlaySample*> m_newestRead;  // by list, guarded by m_readMutex; only compared
  bool m_endFoundLater = false;                   // after the last sample of the list on air was taken
};

const Model::SStep Model::kSteps[] = {
    {"sample", 60, &Model::Sample},
    {"look", 40, &Model::Look},
    {"load", 15, &Model::Load},
    {"load nothing", 1, &Model::LoadNothing},
    {"load beside delivery", 6, &Model::LoadBesideDelivery},
    {"delete", 2, &Model::Delete},
    {"request", 6, &Model::Request},
    {"request in vain", 2, &Model::RequestInVain},
    {"switch at once", 4, &Model::SwitchAtOnce},
    {"play", 6, &Model::Play},
    {"stop", 1, &Model::Stop},
    {"auto-switch", 4, &Model::AutoSwitch},
    {"repeat count", 2, &Model::RepeatCount},
    {"formats", 1, &Model::Formats},
    {"begin seek", 4, &Model::BeginSeek},
    {"seek", 12, &Model::Seek},
    {"seek past the end", 1, &Model::SeekPastTheEnd},
    {"end seek", 8, &Model::EndSeek},
    {"element mode", 4, &Model::ElementMode},
};

void Model::TakeStep() {
  UINT weights = 0;
  for (const SStep& step : kSteps) weights += step.weight;
  UINT choice = m_random->Below(weights);
  const SStep* step = kSteps;
  for (; choice >= step->weight; ++step) choice -= step->weight;
  m_story.emplace_back(step->name);
  m_waits.frameMs = m_oracle->IsPaused() ? 1 : 0;  // a paused worker must not spin
  (this->*step->take)();
}

TEST_F(Model, every_answer_is_the_one_the_rules_give) {
  const UINT steps = Setting("RK_MODEL_STEPS", 500);
  const UINT only = Setting("RK_MODEL_SEED", 0);
  const UINT seeds = only != 0 ? 1 : Setting("RK_MODEL_SEEDS", 12);
  for (UINT i = 0; i < seeds && !HasFailure(); ++i) {
    RunSeed(only != 0 ? only : i + 1, steps);
  }
}

}  // namespace
