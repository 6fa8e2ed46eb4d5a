#pragma once

#include <ostream>
#include <random>
#include <vector>

#include "tests/support/RkFakes.h"
#include "tests/support/RkSetting.h"

// Identifies one frame: the element and list that it was read from, and its position.
struct SModelFrame {
  UINT list;
  UINT element;
  UINT position;

  bool operator==(const SModelFrame&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const SModelFrame& frame) {
  return out << "list " << frame.list << " element " << frame.element << " position " << frame.position;
}

class CModelElement : public CFakeElement {
 public:
  CModelElement(UINT list, UINT element, UINT frames)
      : CFakeElement(frames), m_list(list), m_element(element) {}

  static SModelFrame FrameOf(IRkAVPlaySample& sample) {
    CRkRef<IRkUnknown> source;
    sample.GetAttachment(0, source.Out());
    const auto& element = dynamic_cast<CModelElement&>(*source);
    return {element.m_list, element.m_element, sample.GetPosition()};
  }

 private:
  const UINT m_list;
  const UINT m_element;
};

// A list to load, and the frames that it must give.
struct SModelList {
  UINT number;
  std::vector<CRkRef<CModelElement>> elements;
  std::vector<SModelFrame> frames;  // that one pass gives; fewer than the total when an element fails
  UINT total;                       // frames on the timeline; kRkNoPosition with an unlimited element
  int repeatCount;
  UINT start;

  // The last element gives its last frame. Otherwise a pass ends with the last frame that can be read, once
  // the worker has found that no other follows.
  bool MarksItsEnd() const { return !frames.empty() && frames.back().position + 1 == total; }
  bool EndsWith(const SModelFrame& frame) const { return !frames.empty() && frame == frames.back(); }
  // The first frame: a start in an element that fails leads to the next one.
  size_t First() const {
    size_t index = 0;
    while (index < frames.size() && frames[index].position < start) ++index;
    return index == frames.size() ? 0 : index;
  }
};

// Draws lists and all other random choices from one seed.
class CModelRandom {
 public:
  explicit CModelRandom(UINT seed) : m_random(seed) {}

  UINT Below(UINT end) { return static_cast<UINT>(m_random() % end); }
  bool OneIn(UINT chances) { return Below(chances) == 0; }

  // Lists are numbered in the order they are made. One element in `faultChances` cannot be opened or ends
  // early, and one list in as many has an unlimited last element; 0: none.
  SModelList MakeList(UINT maxElements, UINT maxFrames, UINT faultChances) {
    SModelList list = {++m_lists, {}, {}, 0, static_cast<int>(Below(4)), 0};
    for (UINT element = 0, count = 1 + Below(maxElements); element < count; ++element) {
      const UINT frames = 1 + Below(maxFrames);
      const bool isUnlimited = element + 1 == count && faultChances != 0 && OneIn(faultChances);
      auto made = MakeFake<CModelElement>(list.number, element, isUnlimited ? kRkNoPosition : frames);
      UINT given = frames;
      if (isUnlimited) {
        made->unreadableFrom = given;
      } else if (faultChances != 0 && OneIn(faultChances)) {
        given = Below(frames);
        made->unreadableFrom = given;
        if (given == 0) made->canOpen = false;
      }
      for (UINT i = 0; i < given; ++i) list.frames.push_back({list.number, element, list.total + i});
      list.total = isUnlimited ? kRkNoPosition : list.total + frames;
      list.elements.push_back(std::move(made));
    }
    if (OneIn(3)) list.start = Below(list.total);
    return list;
  }

 private:
  std::mt19937 m_random;
  UINT m_lists = 0;
};
