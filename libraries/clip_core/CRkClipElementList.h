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
// Frame counts are asked for every time, since trim information may change them. An element may be in
// several lists, of which a host edits and asks one while a channel reads another. So an element is told
// its start only when it is handed out, on the thread that gets it, and no other operation reaches it.
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
    CRkRef<IRkClipElement> element;  // null: there is none
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
