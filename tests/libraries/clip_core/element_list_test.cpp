#include <numeric>

#include "tests/libraries/clip_core/ClipCoreTest.h"

namespace {

using List = CRkRef<IRkClipElementList>;
using Ends = std::pair<UINT, UINT>;

const SRkClipFormat kFormat = MakeFormat(16, 16, RkPixelFormat_I420, RkFrameRate_25, 0, 0);

List ListOf(const std::vector<Element>& elements) {
  List list;
  EXPECT_EQ(RkCreateClipElementList(list.Out()), 1);
  for (UINT index = 0; index < elements.size(); ++index)
    EXPECT_TRUE(list->InsertElement(index, elements[index].Get()));
  return list;
}

Element First(const List& list) {
  return Made<IRkClipElement>([&](auto** out) { return list->GetFirstElement(out); });
}

Element Next(const List& list, const Element& current) {
  return Made<IRkClipElement>([&](auto** out) { return list->GetNextElement(current.Get(), out); });
}

Element At(const List& list, UINT position, UINT* offset = nullptr) {
  Element element;
  const BOOL found = list->FindElementAtPosition(position, element.Out(), offset);
  EXPECT_EQ(found != FALSE, bool{element});
  return element;
}

UINT ReadPosition(const Element& element, UINT offset) {
  Sample sample;
  return element->ReadSampleAt(offset, sample.Out()) ? sample->GetPosition() : kRkNoPosition;
}

// The positions of an element's first and last sample when it is opened and read.
Ends ReadEnds(const Element& element) {
  EXPECT_TRUE(element->Open(nullptr, 0, &kFormat));
  const UINT last = ReadPosition(element, element->GetFrameCount() - 1);
  EXPECT_EQ(element->GetLastPosition(), last);
  return {ReadPosition(element, 0), last};
}

CRkRef<IRkClipSourceChannel> MakeChannel() {
  CRkRef<IRkClipSourceChannel> channel;
  EXPECT_TRUE(RkCreateClipSourceChannel(1, 2, kFormat.video, kFormat.audio, nullptr, channel.Out()));
  return channel;
}

void ExpectOnAir(const CRkRef<IRkClipSourceChannel>& channel, const std::vector<UINT>& positions) {
  for (const UINT position : positions) {
    Sample sample;
    ASSERT_TRUE(channel->GetSample(60000, sample.Out()));
    ASSERT_EQ(sample->GetPosition(), position);
  }
}

TEST(element_list, finds_every_first_and_last_frame_and_hands_each_element_out_at_its_place) {
  const auto a = MakePattern(3), b = MakePattern(1), c = MakePattern(4);
  const List list = ListOf({c});
  EXPECT_TRUE(list->InsertElement(0, a.Get()) && list->InsertElement(1, b.Get()));
  EXPECT_FALSE(list->InsertElement(3, a.Get())) << "twice";
  const std::tuple<UINT, const Element&, UINT> cases[] = {
      {0, a, 0}, {2, a, 2}, {3, b, 0}, {4, c, 0}, {7, c, 3}};
  for (const auto& [position, element, expected] : cases) {
    UINT offset = 99;
    EXPECT_EQ(At(list, position, &offset).Get(), element.Get());
    EXPECT_EQ(offset, expected);
  }
  EXPECT_FALSE(At(list, 8) || Next(list, c));
  EXPECT_EQ(ReadEnds(First(list)), Ends(0, 2));
  EXPECT_EQ(ReadEnds(Next(list, a)), Ends(3, 3));
  EXPECT_EQ(ReadEnds(At(list, 5)), Ends(4, 7));

  a->SetTrimInfo(MakeTrim({{1, 2}}).Get());
  EXPECT_EQ(list->GetTotalFrameCount(), 6u);
  EXPECT_EQ(ReadEnds(At(list, 5)), Ends(2, 5));
  EXPECT_TRUE(list->RemoveElement(1));
  EXPECT_EQ(ReadEnds(Next(list, a)), Ends(1, 4));
  EXPECT_FALSE(Next(list, b) || list->RemoveElement(2));
  list->RemoveAll();
  EXPECT_FALSE(First(list));
}

TEST(element_list, accepts_an_element_once_and_no_frame_past_the_last_position) {
  const auto most = MakePattern(kRkNoPosition - 2), one = MakePattern(1), two = MakePattern(2);
  const List list = ListOf({most});
  EXPECT_FALSE(list->InsertElement(0, nullptr) || list->InsertElement(2, one.Get()) ||
               list->InsertElement(1, most.Get()) || list->InsertElement(1, two.Get()));
  EXPECT_TRUE(list->InsertElement(1, one.Get()));
  EXPECT_EQ(list->GetTotalFrameCount(), kRkNoPosition - 1);
  EXPECT_EQ(ReadEnds(At(list, kRkNoPosition - 2)), Ends(kRkNoPosition - 2, kRkNoPosition - 2));
  EXPECT_FALSE(At(list, kRkNoPosition - 1));
}

TEST(element_list, an_unlimited_element_is_the_last_and_takes_every_position_that_is_left) {
  const auto lead = MakePattern(5), live = MakePattern(kRkNoPosition), other = MakePattern(kRkNoPosition);
  const List list = ListOf({live});
  EXPECT_EQ(list->GetTotalFrameCount(), kRkNoPosition);
  EXPECT_FALSE(list->InsertElement(1, lead.Get())) << "behind it";
  EXPECT_FALSE(list->InsertElement(0, other.Get()) || list->InsertElement(1, other.Get())) << "a second one";
  EXPECT_TRUE(list->InsertElement(0, lead.Get()));
  EXPECT_EQ(list->GetTotalFrameCount(), kRkNoPosition);
  UINT offset = 0;
  EXPECT_EQ(At(list, kRkNoPosition - 1, &offset).Get(), live.Get());
  EXPECT_EQ(offset, kRkNoPosition - 6);
  EXPECT_FALSE(At(list, kRkNoPosition));
  ASSERT_TRUE(Next(list, lead)->Open(nullptr, 0, &kFormat));
  EXPECT_EQ(ReadPosition(live, offset + 1), kRkNoPosition) << "no position is left";

  const auto channel = MakeChannel();
  EXPECT_TRUE(channel->InsertElement(0, live.Get()) && channel->InsertElement(0, lead.Get()));
  EXPECT_TRUE(channel->Play(kRkNoPosition - 2, 2));
  ExpectOnAir(channel, {kRkNoPosition - 2, kRkNoPosition - 1, 0, 1, 2, 3, 4, 5, 6});
}

TEST(element_list, an_element_counts_by_the_list_that_its_reader_got_it_from) {
  const auto a = MakePattern(5), b = MakePattern(5);
  const List one = ListOf({a, b}), two = ListOf({MakePattern(50), b});
  EXPECT_EQ(ReadEnds(At(one, 5)), Ends(5, 9));
  std::thread([&] { EXPECT_EQ(At(two, 50)->GetTimelineStart(), 5u); }).join();
  one->RemoveElement(0);
  EXPECT_EQ(ReadPosition(At(one, 0), 0), 5u) << "until it is closed";
  EXPECT_EQ(ReadEnds(At(two, 50)), Ends(50, 54));

  EXPECT_EQ(ReadEnds(MakePattern(5)), Ends(0, 4)) << "in no list";
  std::thread([&] { EXPECT_EQ(ReadEnds(b), Ends(0, 4)) << "from no list"; }).join();
  b->SetTrimInfo(nullptr);
  EXPECT_EQ(ReadEnds(b), Ends(0, 4)) << "as the player opens it";
}

TEST(element_list, samples_on_air_keep_their_numbers_while_the_host_uses_its_own_list_of_them) {
  const std::vector<Element> elements = {MakePattern(10), MakePattern(5), MakePattern(5)};
  const List host = ListOf({MakePattern(50), elements[1], elements[0]});
  std::vector<UINT> positions(20);
  std::iota(positions.begin(), positions.end(), 0);
  const auto channel = MakeChannel();
  std::jthread editor([&](const std::stop_token& stop) {
    for (const auto lead = MakePattern(3); !stop.stop_requested(); host->RemoveElement(0))
      host->InsertElement(0, lead.Get());
  });
  std::jthread asker([&](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      host->GetTotalFrameCount();
      for (Element at = First(host); at;) at = Next(host, at);
      At(host, 57);
      channel->GetElementAtPosition(10, Element().Out());
    }
  });
  for (int play = 0; play < 20; ++play) {
    channel->Stop();
    channel->RemoveAllElements();
    for (const auto& element : elements) channel->InsertElement(0, element.Get());
    ASSERT_TRUE(channel->Play(0, 1));
    ExpectOnAir(channel, positions);
    UINT status = 0;
    channel->GetStatus(&status);
    ASSERT_EQ(status, RkSourceChannel_Stopped);
  }
}

}  // namespace
