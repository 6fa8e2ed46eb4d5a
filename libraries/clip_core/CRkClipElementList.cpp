#include "libraries/clip_core/CRkClipElementList.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/RkWithinMemory.h"

namespace {

// A total must not be the value that stands for no position.
constexpr ULONGLONG kMaximumFrames = kRkNoPosition - 1;

UINT Saturated(ULONGLONG frames) {
  return static_cast<UINT>(std::min(frames, kMaximumFrames));
}

// False, and nothing is inserted, without memory.
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
  return Saturated(_TellStarts(m_elements.size()));
}

BOOL CRkClipElementList::InsertElement(UINT index, IRkClipElement* element) {
  if (element == nullptr) return FALSE;
  CRkScopedLock lock(m_lock);
  if (index > m_elements.size() || _IndexOf(element) >= 0) return FALSE;
  if (_TellStarts(m_elements.size()) + element->GetFrameCount() > kMaximumFrames) return FALSE;
  if (!Insert(m_elements, index, element)) return FALSE;
  _TellStarts(m_elements.size());
  return TRUE;
}

BOOL CRkClipElementList::RemoveElement(UINT index) {
  CRkRef<IRkClipElement> removed;
  CRkScopedLock lock(m_lock);
  if (index >= m_elements.size()) return FALSE;
  removed = std::move(m_elements[index]);
  m_elements.erase(m_elements.begin() + index);
  _TellStarts(m_elements.size());
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
  if (position >= kMaximumFrames) return FALSE;
  CRkScopedLock lock(m_lock);
  UINT start = 0;
  for (const auto& held : m_elements) {
    held->SetTimelineStart(start);
    const UINT frames = held->GetFrameCount();
    if (position - start < frames) {
      if (offset != nullptr) *offset = position - start;
      held.CopyTo(element);
      return TRUE;
    }
    start += frames;
  }
  return FALSE;
}

void CRkClipElementList::GetFirstElement(IRkClipElement** element) {
  *element = nullptr;
  CRkScopedLock lock(m_lock);
  _HandOut(0, element);
}

void CRkClipElementList::GetNextElement(IRkClipElement* current, IRkClipElement** next) {
  *next = nullptr;
  CRkScopedLock lock(m_lock);
  const int index = _IndexOf(current);
  if (index >= 0) _HandOut(static_cast<size_t>(index) + 1, next);
}

ULONGLONG CRkClipElementList::_TellStarts(size_t count) {
  ULONGLONG start = 0;
  for (size_t index = 0; index < count; ++index) {
    m_elements[index]->SetTimelineStart(Saturated(start));
    start += m_elements[index]->GetFrameCount();
  }
  return start;
}

int CRkClipElementList::_IndexOf(IRkClipElement* element) {
  const auto found = std::find_if(m_elements.begin(), m_elements.end(),
                                  [element](const auto& held) { return held.Get() == element; });
  return found == m_elements.end() ? -1 : static_cast<int>(found - m_elements.begin());
}

void CRkClipElementList::_HandOut(size_t index, IRkClipElement** element) {
  if (index >= m_elements.size()) return;
  _TellStarts(index + 1);
  m_elements[index].CopyTo(element);
}

int RkCreateClipElementList(IRkClipElementList** list) {
  if (list == nullptr) return 0;
  CRkClipElementList* created = new (std::nothrow) CRkClipElementList;
  if (created == nullptr) return 0;
  *list = created;
  return 1;
}
