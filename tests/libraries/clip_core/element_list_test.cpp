#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "base/CRkRef.h"
#include "contracts/RkClipCore.h"

namespace {

using Element = CRkRef<IRkClipElement>;

CRkRef<IRkClipElementList> MakeList() {
  CRkRef<IRkClipElementList> list;
  EXPECT_EQ(RkCreateClipElementList(list.Out()), 1);
  return list;
}

Element MakeElement(UINT frames) {
  Element element;
  EXPECT_EQ(RkCreatePatternClipElement(frames, element.Out()), 1);
  return element;
}

Element First(IRkClipElementList& list) {
  Element element;
  list.GetFirstElement(element.Out());
  return element;
}

Element Next(IRkClipElementList& list, const Element& current) {
  Element element;
  list.GetNextElement(current.Get(), element.Out());
  return element;
}

TEST(ElementList, refuses_what_has_no_place_in_it) {
  const auto list = MakeList();
  const auto element = MakeElement(5);
  EXPECT_FALSE(list->InsertElement(0, nullptr));
  EXPECT_FALSE(list->InsertElement(1, element.Get()));
  EXPECT_TRUE(list->InsertElement(0, element.Get()));
  EXPECT_FALSE(list->InsertElement(0, element.Get()));
  EXPECT_FALSE(list->InsertElement(1, element.Get()));
  EXPECT_FALSE(list->RemoveElement(1));
  EXPECT_EQ(list->GetCount(), 1);
}

TEST(ElementList, tells_every_start_at_each_edit_and_finds_every_first_and_last_frame) {
  const auto list = MakeList();
  const auto a = MakeElement(3), b = MakeElement(1), c = MakeElement(4);
  list->InsertElement(0, c.Get());
  list->InsertElement(0, a.Get());
  list->InsertElement(1, b.Get());
  EXPECT_EQ(b->GetTimelineStart(), 3u);
  EXPECT_EQ(c->GetTimelineStart(), 4u);
  EXPECT_EQ(c->GetLastPosition(), 7u);
  const struct {
    const Element& element;
    UINT position;
    UINT offset;
  } cases[] = {{a, 0, 0}, {a, 2, 2}, {b, 3, 0}, {c, 4, 0}, {c, 7, 3}};
  for (const auto& expected : cases) {
    Element found;
    UINT offset = 99;
    EXPECT_TRUE(list->FindElementAtPosition(expected.position, found.Out(), &offset));
    EXPECT_EQ(found.Get(), expected.element.Get());
    EXPECT_EQ(offset, expected.offset);
  }
  EXPECT_EQ(First(*list).Get(), a.Get());
  EXPECT_EQ(Next(*list, b).Get(), c.Get());
  EXPECT_FALSE(Next(*list, c));
  list->RemoveElement(1);
  EXPECT_EQ(b->GetTimelineStart(), 3u);  // for a list that still plays it
  EXPECT_EQ(c->GetTimelineStart(), 3u);
  EXPECT_FALSE(Next(*list, b));
  Element none = a;
  EXPECT_FALSE(list->FindElementAtPosition(7, none.Out(), nullptr));
  EXPECT_FALSE(none);
  list->RemoveAll();
  EXPECT_FALSE(First(*list));
}

TEST(ElementList, tells_starts_anew_when_a_trimmed_element_precedes_what_it_hands_out) {
  const auto list = MakeList();
  const auto a = MakeElement(10), b = MakeElement(10);
  list->InsertElement(0, a.Get());
  list->InsertElement(1, b.Get());
  CRkRef<IRkClipTrimInfo> trim;
  RkCreateClipTrimInfo({{2, 4}}, trim.Out());

  a->SetTrimInfo(trim.Get());
  EXPECT_EQ(Next(*list, a).Get(), b.Get());
  EXPECT_EQ(b->GetTimelineStart(), 2u);
  EXPECT_EQ(list->GetTotalFrameCount(), 12u);
  a->SetTrimInfo(nullptr);
  Element found;
  EXPECT_TRUE(list->FindElementAtPosition(11, found.Out(), nullptr));
  EXPECT_EQ(found.Get(), b.Get());
  EXPECT_EQ(b->GetTimelineStart(), 10u);
}

TEST(ElementList, keeps_every_position_below_the_one_that_means_none) {
  const auto list = MakeList();
  const auto most = MakeElement(kRkNoPosition - 2), one = MakeElement(1), two = MakeElement(2);
  EXPECT_TRUE(list->InsertElement(0, most.Get()));
  EXPECT_FALSE(list->InsertElement(1, two.Get()));
  EXPECT_TRUE(list->InsertElement(1, one.Get()));
  EXPECT_EQ(list->GetTotalFrameCount(), kRkNoPosition - 1);
  EXPECT_EQ(one->GetLastPosition(), kRkNoPosition - 2);
}

TEST(ElementList, may_be_edited_while_a_worker_walks_it) {
  const auto list = MakeList();
  const std::vector<Element> elements = {MakeElement(3), MakeElement(4), MakeElement(5)};
  std::atomic<bool> edited = false;
  std::thread worker([&] {
    while (!edited) {
      for (Element at = First(*list); at; at = Next(*list, at)) EXPECT_LE(at->GetTimelineStart(), 9u);
      Element found;
      list->FindElementAtPosition(6, found.Out(), nullptr);
    }
  });
  for (UINT round = 0; round < 2000; ++round) {
    for (const auto& element : elements) EXPECT_TRUE(list->InsertElement(0, element.Get()));
    EXPECT_TRUE(list->RemoveElement(1));
    list->RemoveAll();
  }
  edited = true;
  worker.join();
}

}  // namespace
