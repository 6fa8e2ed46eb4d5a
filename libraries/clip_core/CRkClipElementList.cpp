#include "libraries/clip_core/CRkClipElementList.h"

#include <algorithm>
#include <utility>

#include "base/RkCreateObject.h"
#include "base/RkWithinMemory.h"

namespace {

constexpr UINT kUnlimited = kRkNoPosition;
// Limits the other elements together, so that no frame's position is kRkNoPosition.
constexpr ULONGLONG kMaximumFrames = kRkNoPosition - 1;

UINT Saturated(ULONGLONG frames) {
  return static_cast<UINT>(std::min(frames, kMaximumFrames));
}

// False without memory; nothing is inserted then.
bool Insert(std::vector<CRkRef<IRkClipElement>>& elements, UINT index, IRkClipElement* element) {
  return RkWithinMemory(
      [&] { elements.insert(elements.begin() + index, CRkRef<IRkClipElement>::Retain(element)); });
}

}  // namespace

int CRkClipElementList::GetCount() {
  CRkScopedLock lock(m_lock);
  return static_cast<int>(m_elements.size());
}

UINT CRkClipElementList::GetTotalFrameCount() {
  CRkScopedLock lock(m_lock);
  ULONGLONG total = 0;
  for (const auto& element : m_elements) {
    const UINT frames = element->GetFrameCount();
    if (frames == kUnlimited) return kUnlimited;
    total += frames;
  }
  return Saturated(total);
}

BOOL CRkClipElementList::InsertElement(UINT index, IRkClipElement* element) {
  if (element == nullptr) return FALSE;
  CRkScopedLock lock(m_lock);
  if (index > m_elements.size() || _IndexOf(element) >= 0) return FALSE;
  return _HasRoomFor(element->GetFrameCount(), index) && Insert(m_elements, index, element) ? TRUE : FALSE;
}

// Keeps an unlimited element the last one, and all others inside kMaximumFrames.
bool CRkClipElementList::_HasRoomFor(UINT frames, size_t index) {
  const bool isUnlimited = frames == kUnlimited;
  ULONGLONG total = isUnlimited ? 0 : frames;
  for (size_t i = 0; i < m_elements.size(); ++i) {
    const UINT held = m_elements[i]->GetFrameCount();
    if (held != kUnlimited) {
      total += held;
    } else if (isUnlimited || index > i) {
      return false;
    }
  }
  return total <= kMaximumFrames && (!isUnlimited || index == m_elements.size());
}

BOOL CRkClipElementList::RemoveElement(UINT index) {
  CRkRef<IRkClipElement> removed;
  CRkScopedLock lock(m_lock);
  if (index >= m_elements.size()) return FALSE;
  removed = std::move(m_elements[index]);
  m_elements.erase(m_elements.begin() + index);
  return TRUE;
}

void CRkClipElementList::RemoveAll() {
  Elements removed;
  CRkScopedLock lock(m_lock);
  removed.swap(m_elements);
}

int CRkClipElementList::IndexOf(IRkClipElement* element) {
  CRkScopedLock lock(m_lock);
  return _IndexOf(element);
}

BOOL CRkClipElementList::FindElementAtPosition(UINT position, IRkClipElement** element, UINT* offset) {
  *element = nullptr;
  const SPlace place = _Find(position);
  if (!place.element) return FALSE;
  if (offset != nullptr) *offset = position - place.start;
  _HandOut(place, element);
  return TRUE;
}

void CRkClipElementList::GetFirstElement(IRkClipElement** element) {
  *element = nullptr;
  _HandOut(_First(), element);
}

void CRkClipElementList::GetNextElement(IRkClipElement* current, IRkClipElement** next) {
  *next = nullptr;
  _HandOut(_After(current), next);
}

CRkClipElementList::SPlace CRkClipElementList::_Find(UINT position) {
  CRkScopedLock lock(m_lock);
  ULONGLONG start = 0;
  for (const auto& held : m_elements) {
    const UINT frames = held->GetFrameCount();
    if (position < (frames == kUnlimited ? kUnlimited : Saturated(start + frames)))
      return {held, static_cast<UINT>(start)};
    start += frames;
  }
  return {};
}

CRkClipElementList::SPlace CRkClipElementList::_First() {
  CRkScopedLock lock(m_lock);
  return m_elements.empty() ? SPlace{} : SPlace{m_elements.front(), 0};
}

CRkClipElementList::SPlace CRkClipElementList::_After(IRkClipElement* current) {
  CRkScopedLock lock(m_lock);
  ULONGLONG start = 0;
  bool passed = false;
  for (const auto& held : m_elements) {
    if (passed) return {held, Saturated(start)};
    passed = held.Get() == current;
    start += held->GetFrameCount();
  }
  return {};
}

// Called without the lock: SetTimelineStart may be a host's.
void CRkClipElementList::_HandOut(const SPlace& place, IRkClipElement** element) {
  if (!place.element) return;
  place.element->SetTimelineStart(place.start);
  place.element.CopyTo(element);
}

int CRkClipElementList::_IndexOf(IRkClipElement* element) {
  const auto found = std::find_if(m_elements.begin(), m_elements.end(),
                                  [element](const auto& held) { return held.Get() == element; });
  return found == m_elements.end() ? -1 : static_cast<int>(found - m_elements.begin());
}

int RkCreateClipElementList(IRkClipElementList** list) {
  return list != nullptr ? RkCreate<CRkClipElementList>(list) : 0;
}
