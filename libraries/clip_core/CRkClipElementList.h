#pragma once

#include <cstddef>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkClipCore.h"

// Elements laid end to end on one timeline.
//
// Any thread may enter. The lock guards the elements, of which the list owns one reference each. Under it
// the list calls nothing but the elements' GetFrameCount, which must not call back into the list. Removed
// elements are released after the lock.
//
// The list does not cache frame counts, since trim information changes them at any time.
// A host may edit and query one list of elements while a channel reads another list of the same elements.
// So only handing an element out sets its start, on the receiving thread; no other operation does.
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

  struct SPlace {
    CRkRef<IRkClipElement> element;  // null: nothing there
    UINT start = 0;
  };

  bool _HasRoomFor(UINT frames, size_t index) RK_REQUIRES(m_lock);
  int _IndexOf(IRkClipElement* element) RK_REQUIRES(m_lock);
  SPlace _Find(UINT position) RK_EXCLUDES(m_lock);
  SPlace _First() RK_EXCLUDES(m_lock);
  SPlace _After(IRkClipElement* current) RK_EXCLUDES(m_lock);
  static void _HandOut(const SPlace& place, IRkClipElement** element);

  CRkCriticalSection m_lock;
  Elements m_elements RK_GUARDED_BY(m_lock);
};
