#pragma once

#include <cstddef>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkClipCore.h"

// Elements laid end to end on one timeline.
//
// Any thread may enter. The lock guards the elements, of which the list holds one reference each; those
// taken out are released after it. Under it the list calls nothing but the elements' GetFrameCount and
// SetTimelineStart, which therefore must not call back into the list: so that edits on two threads cannot
// leave an element with the start that it had before the later one.
//
// Frame counts are never kept, for trim information may change them at any time. Elements hear their
// starts at every edit and again whenever one of them is handed out. An element that is taken out keeps
// its start: it may be in another list, that of a channel which plays it.
class CRkClipElementList final : public CRkUnknown<IRkClipElementList> {
 public:
  CRkClipElementList() = default;

  int GetCount() override;
  UINT GetTotalFrameCount() override;
  BOOL InsertElement(UINT index, IRkClipElement* element) override;
  BOOL RemoveElement(UINT index) override;
  void RemoveAll() override;
  int IndexOf(IRkClipElement* element) override;
  BOOL FindElementAtPosition(UINT position, IRkClipElement** element, UINT* offset) override;
  void GetFirstElement(IRkClipElement** element) override;
  void GetNextElement(IRkClipElement* current, IRkClipElement** next) override;

 private:
  using Elements = std::vector<CRkRef<IRkClipElement>>;

  ~CRkClipElementList() override = default;

  // Tells the first `count` elements where they begin; gives the frames of all of them.
  ULONGLONG _TellStarts(size_t count) RK_REQUIRES(m_lock);
  int _IndexOf(IRkClipElement* element) RK_REQUIRES(m_lock);
  void _HandOut(size_t index, IRkClipElement** element) RK_REQUIRES(m_lock);

  CRkCriticalSection m_lock;
  Elements m_elements RK_GUARDED_BY(m_lock);
};
