#pragma once

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

#include "base/RkCreateObject.h"
#include "output_channel/CRkClipOutputChannel.h"
#include "tests/support/RkFakes.h"
#include "tests/support/RkLogRecorder.h"

using Events = std::vector<std::string>;

using Element = CRkRef<CFakeElement>;

inline Element MakeElement(char name, UINT frames) {
  return MakeFake<CFakeElement>(frames, name);
}

// "B7": position 7, read from element B.
inline std::string NameOf(IRkAVPlaySample& sample) {
  CRkRef<IRkUnknown> source;
  if (!sample.GetAttachment(0, source.Out())) return "?";
  return dynamic_cast<CFakeElement&>(*source).name + std::to_string(sample.GetPosition());
}

// A host's list that hands out whatever it was given, in order; it can be held up half-way.
class CScriptedList : public CFake<IRkClipElementList> {
 public:
  template <class Fake>
  explicit CScriptedList(const std::vector<CRkRef<Fake>>& elements) {
    for (const auto& element : elements) m_elements.push_back(CRkRef<IRkClipElement>::Retain(element.Get()));
  }
  CGate nextGate;

  int GetCount() override { return static_cast<int>(m_elements.size()); }
  UINT GetTotalFrameCount() override { return 0; }
  BOOL InsertElement(UINT, IRkClipElement*) override { return FALSE; }
  BOOL RemoveElement(UINT) override { return FALSE; }
  void RemoveAll() override {}
  int IndexOf(IRkClipElement*) override { return -1; }
  BOOL FindElementAtPosition(UINT, IRkClipElement**, UINT*) override { return FALSE; }
  void GetFirstElement(IRkClipElement** element) override {
    m_next = 0;
    HandOut(element);
  }
  void GetNextElement(IRkClipElement*, IRkClipElement** next) override {
    nextGate.Pass();
    HandOut(next);
  }

 private:
  void HandOut(IRkClipElement** element) {
    if (m_next < m_elements.size()) m_elements[m_next++].CopyTo(element);
  }

  std::vector<CRkRef<IRkClipElement>> m_elements;
  size_t m_next = 0;
};

// An output channel with a sink and small caches. It must release everything that it was given.
class OutputChannelTest : public testing::Test {
 protected:
  static constexpr UINT kPreRoll = 2;
  static constexpr UINT kCapacity = 4;

  void SetUp() override {
    m_waits.switchPlayMs = kTestDeadlineMs;
    Create(m_notify.Get());
  }
  void TearDown() override {
    m_channel.Reset();
    m_notify.Reset();
    EXPECT_EQ(g_liveFakes, 0);
  }

  void Create(IRkClipOutputChannelNotify* notify) {
    auto* created = new CRkClipOutputChannel(m_waits);
    ASSERT_TRUE(RkInitializeAndHandOut(created, m_channel.Out(), kPreRoll, kCapacity, kTestVideo, kTestAudio,
                                       nullptr, notify));
  }

  template <class Fake>
  bool CueAll(const std::vector<CRkRef<Fake>>& elements, int repeatCount, UINT start) {
    const auto list = MakeFake<CScriptedList>(elements);
    return m_channel->InsertClipElement(static_cast<IRkClipElementList*>(list.Get()), repeatCount, start);
  }
  bool Cue(const std::vector<Element>& elements, int repeatCount = 1, UINT start = 0) {
    return CueAll(elements, repeatCount, start);
  }
  bool Cue(char name, UINT frames, int repeatCount = 1, UINT start = 0) {
    return Cue({MakeElement(name, frames)}, repeatCount, start);
  }
  // Puts a list on air.
  void PlayList(const std::vector<Element>& elements, int repeatCount = 1) {
    ASSERT_TRUE(Cue(elements, repeatCount));
    ASSERT_TRUE(m_channel->Play());
    m_notify->Take();
  }

  std::string TakeSample() {
    CRkRef<IRkAVPlaySample> sample;
    return m_channel->GetSample(kTestDeadlineMs, sample.Out()) ? NameOf(*sample) : "none";
  }
  std::string TakeSamples(int count) {
    std::string names;
    for (int i = 0; i < count; ++i) names += TakeSample() + " ";
    return names;
  }

  UINT Switch() {
    UINT status = 99;
    m_channel->SwitchChannel(&status);
    return status;
  }

  // Takes samples and switches in turn until playback ends: "A0 A1 4 B0 B1 1 ", with every status other than
  // Playing.
  std::string PlayOut() {
    std::string told;
    for (int i = 0; i < 1000; ++i) {
      told += TakeSample() + " ";
      const UINT status = Switch();
      if (status != RkSwitchStatus_Playing) told += std::to_string(status) + " ";
      if (status == RkSwitchStatus_Ended || status == RkSwitchStatus_AwaitingSwitch) return told;
    }
    return told + "...";
  }

  // Requests a switch on another thread; returns when the request is pending. -1: refused.
  std::future<int> RequestSwitch() {
    const UINT before = m_waits.switchPlays;
    auto answer = std::async(std::launch::async, [this] {
      UINT position = 0;
      return m_channel->SwitchPlay(&position) ? static_cast<int>(position) : -1;
    });
    EXPECT_TRUE(WaitUntil([&] { return m_waits.switchPlays > before; }));
    return answer;
  }
  // Leaves a pending request whose wait has timed out.
  void LeaveRequest() {
    m_waits.switchPlayMs = 0;
    UINT position = 77;
    EXPECT_FALSE(m_channel->SwitchPlay(&position));
    EXPECT_EQ(position, 77u);
    m_waits.switchPlayMs = kTestDeadlineMs;
  }

  SRkChannelWaits m_waits;
  CRkRef<CFakeNotify> m_notify = MakeFake<CFakeNotify>();
  CRkRef<IRkClipOutputChannel> m_channel;
};
