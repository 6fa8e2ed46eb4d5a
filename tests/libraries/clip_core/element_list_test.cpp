#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "base/CRkRef.h"
#include "module/RkClipPlay.h"

namespace {

using Element = CRkRef<IRkClipElement>;
using List = CRkRef<IRkClipElementList>;

constexpr SRkClipFormat kFormat = {RkMakeWaveFormat(0, 48000, 16),
                                   {16, 16, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, 0, 0}};
constexpr DWORD kDeadlineMs = 60000;

Element MakeElement(UINT frames) {
  Element element;
  EXPECT_EQ(RkCreatePatternClipElement(frames, element.Out()), 1);
  return element;
}

List ListOf(const std::vector<Element>& elements) {
  List list;
  EXPECT_EQ(RkCreateClipElementList(list.Out()), 1);
  for (UINT index = 0; index < elements.size(); ++index)
    EXPECT_TRUE(list->InsertElement(index, elements[index].Get()));
  return list;
}

Element First(const List& list) {
  Element element;
  list->GetFirstElement(element.Out());
  return element;
}

Element Next(const List& list, const Element& current) {
  Element element;
  list->GetNextElement(current.Get(), element.Out());
  return element;
}

Element At(const List& list, UINT position, UINT* offset = nullptr) {
  Element element;
  const BOOL found = list->FindElementAtPosition(position, element.Out(), offset);
  EXPECT_EQ(found != FALSE, bool{element});
  return element;
}

void Walk(const List& list) {
  for (Element at = First(list); at;) at = Next(list, at);
}

UINT ReadPosition(const Element& element, UINT offset) {
  CRkRef<IRkAVPlaySample> sample;
  return element->ReadSampleAt(offset, sample.Out()) ? sample->GetPosition() : kRkNoPosition;
}

// The positions of an element's first and last sample, as its reader meets them.
std::pair<UINT, UINT> ReadEnds(const Element& element) {
  EXPECT_TRUE(element->Open(nullptr, 0, &kFormat));
  const UINT last = ReadPosition(element, element->GetFrameCount() - 1);
  EXPECT_EQ(element->GetLastPosition(), last);
  return {ReadPosition(element, 0), last};
}

using Ends = std::pair<UINT, UINT>;

TEST(ElementList, finds_every_first_and_last_frame_and_hands_each_element_out_at_its_place) {
  const auto a = MakeElement(3), b = MakeElement(1), c = MakeElement(4);
  const List list = ListOf({c});
  EXPECT_TRUE(list->InsertElement(0, a.Get()) && list->InsertElement(1, b.Get()));
  const struct {
    const Element& element;
    UINT position, offset;
  } cases[] = {{a, 0, 0}, {a, 2, 2}, {b, 3, 0}, {c, 4, 0}, {c, 7, 3}};
  for (const auto& expected : cases) {
    UINT offset = 99;
    EXPECT_EQ(At(list, expected.position, &offset).Get(), expected.element.Get());
    EXPECT_EQ(offset, expected.offset);
  }
  EXPECT_FALSE(At(list, 8));
  EXPECT_EQ(ReadEnds(First(list)), Ends(0, 2));
  EXPECT_EQ(ReadEnds(Next(list, a)), Ends(3, 3));
  EXPECT_EQ(ReadEnds(Next(list, b)), Ends(4, 7));
  EXPECT_EQ(ReadEnds(At(list, 5)), Ends(4, 7));
  EXPECT_FALSE(Next(list, c));

  CRkRef<IRkClipTrimInfo> trim;
  ASSERT_TRUE(RkCreateClipTrimInfo({{1, 2}}, trim.Out()));
  a->SetTrimInfo(trim.Get());
  EXPECT_EQ(list->GetTotalFrameCount(), 6u);
  EXPECT_EQ(ReadEnds(At(list, 5)), Ends(2, 5));
  EXPECT_TRUE(list->RemoveElement(1));
  EXPECT_EQ(ReadEnds(Next(list, a)), Ends(1, 4));
  EXPECT_FALSE(Next(list, b));
  EXPECT_FALSE(list->RemoveElement(2));
  list->RemoveAll();
  EXPECT_FALSE(First(list));
}

TEST(ElementList, accepts_an_element_once_and_no_frame_past_the_last_position) {
  const auto most = MakeElement(kRkNoPosition - 2), one = MakeElement(1), two = MakeElement(2);
  const List list = ListOf({most});
  EXPECT_FALSE(list->InsertElement(0, nullptr));
  EXPECT_FALSE(list->InsertElement(2, one.Get()));
  EXPECT_FALSE(list->InsertElement(1, most.Get()));
  EXPECT_FALSE(list->InsertElement(1, two.Get()));
  EXPECT_TRUE(list->InsertElement(1, one.Get()));
  EXPECT_EQ(list->GetTotalFrameCount(), kRkNoPosition - 1);
  EXPECT_EQ(ReadEnds(At(list, kRkNoPosition - 2)), Ends(kRkNoPosition - 2, kRkNoPosition - 2));
  EXPECT_FALSE(At(list, kRkNoPosition - 1));
}

TEST(ElementList, an_unlimited_element_is_the_last_and_takes_every_position_that_is_left) {
  const auto lead = MakeElement(5), live = MakeElement(kRkNoPosition), other = MakeElement(kRkNoPosition);
  const List list = ListOf({live});
  EXPECT_EQ(list->GetTotalFrameCount(), kRkNoPosition);
  EXPECT_FALSE(list->InsertElement(1, lead.Get())) << "behind it";
  EXPECT_FALSE(list->InsertElement(0, other.Get())) << "a second one";
  EXPECT_FALSE(list->InsertElement(1, other.Get()));
  EXPECT_TRUE(list->InsertElement(0, lead.Get()));
  EXPECT_EQ(list->GetTotalFrameCount(), kRkNoPosition);
  UINT offset = 0;
  EXPECT_EQ(At(list, kRkNoPosition - 1, &offset).Get(), live.Get());
  EXPECT_EQ(offset, kRkNoPosition - 6);
  EXPECT_FALSE(At(list, kRkNoPosition));
  ASSERT_TRUE(Next(list, lead)->Open(nullptr, 0, &kFormat));
  EXPECT_EQ(ReadPosition(live, offset), kRkNoPosition - 1);
  EXPECT_EQ(live->GetLastPosition(), kRkNoPosition - 1);
  EXPECT_EQ(ReadPosition(live, offset + 1), kRkNoPosition) << "no position is left";
}

TEST(ElementList, an_element_counts_by_the_list_that_its_reader_got_it_from) {
  const auto a = MakeElement(5), b = MakeElement(5);
  const List one = ListOf({a, b}), two = ListOf({MakeElement(50), b});
  EXPECT_EQ(ReadEnds(At(one, 5)), Ends(5, 9));
  std::thread([&] { EXPECT_EQ(At(two, 50)->GetTimelineStart(), 5u); }).join();
  EXPECT_EQ(ReadPosition(Next(two, First(two)), 0), 5u) << "until it is closed";
  one->RemoveElement(0);
  EXPECT_EQ(ReadPosition(At(one, 0), 0), 5u) << "until it is closed";
  EXPECT_EQ(ReadEnds(At(two, 50)), Ends(50, 54));
  b->Close();

  At(two, 50);
  EXPECT_EQ(ReadEnds(MakeElement(5)), Ends(0, 4)) << "in no list";
  std::thread([&] { EXPECT_EQ(ReadEnds(b), Ends(0, 4)) << "from no list"; }).join();
  At(two, 50);
  b->SetTrimInfo(nullptr);
  EXPECT_EQ(ReadEnds(b), Ends(0, 4)) << "as the player opens it";
}

// A channel on air, and a host that goes on using its own list of the same elements.
class ElementsOnAir : public testing::Test {
 protected:
  ElementsOnAir() {
    EXPECT_TRUE(RkCreateClipSourceChannel(1, 2, kFormat.video, kFormat.audio, nullptr, m_channel.Out()));
  }
  void Cue() {
    m_channel->Stop();
    m_channel->RemoveAllElements();
    for (const auto& element : m_elements) ASSERT_TRUE(m_channel->InsertElement(0, element.Get()));
    ASSERT_TRUE(m_channel->Play(0, 1));
  }
  void ExpectOnAir(UINT first, UINT end) {
    for (UINT position = first; position < end; ++position) {
      CRkRef<IRkAVPlaySample> sample;
      ASSERT_TRUE(m_channel->GetSample(kDeadlineMs, sample.Out()));
      ASSERT_EQ(sample->GetPosition(), position);
    }
    UINT status = 0;
    m_channel->GetStatus(&status);
    EXPECT_EQ(status == RkSourceChannel_Stopped, end == 20);
  }

  const std::vector<Element> m_elements = {MakeElement(10), MakeElement(5), MakeElement(5)};
  const List m_host = ListOf({MakeElement(50), m_elements[1], m_elements[0]});
  CRkRef<IRkClipSourceChannel> m_channel;
};

TEST_F(ElementsOnAir, keep_their_numbers_whatever_the_host_does_with_its_own_list) {
  const std::function<void()> deeds[] = {
      [&] { m_host->GetTotalFrameCount(); },
      [&] { Walk(m_host); },
      [&] { At(m_host, 57); },
      [&] { m_host->InsertElement(0, MakeElement(7).Get()); },
      [&] { m_host->RemoveElement(0); },
      [&] { m_host->RemoveAll(); },
  };
  for (const auto& deed : deeds) {
    Cue();
    ExpectOnAir(0, 7);
    deed();
    ExpectOnAir(7, 14);
    deed();
    ExpectOnAir(14, 20);
  }
}

TEST_F(ElementsOnAir, see_every_end_while_all_lists_are_asked_and_edited) {
  std::atomic<bool> ended = false;
  std::thread asker([&] {
    while (!ended) {
      m_host->GetTotalFrameCount();
      Walk(m_host);
      m_channel->GetElementAtPosition(10, Element().Out());
      m_channel->GetElementMode();
    }
  });
  std::thread editor([&] {
    const auto lead = MakeElement(3);
    while (!ended) {
      m_host->InsertElement(0, lead.Get());
      m_host->RemoveElement(0);
    }
  });
  for (int play = 0; play < 20 && !HasFailure(); ++play) {
    Cue();
    ExpectOnAir(0, 20);
  }
  ended = true;
  asker.join();
  editor.join();
}

}  // namespace
