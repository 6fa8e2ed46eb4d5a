#pragma once

#include "base/CRkCriticalSection.h"
#include "base/CRkUnknown.h"
#include "contracts/RkClipCore.h"

// A list of trim ranges. Any thread may enter. The lock guards the ranges; CopyFrom reads its source before
// it takes the lock, so that two objects may copy from each other simultaneously.
class CRkClipTrimInfo final : public CRkUnknown<IRkClipTrimInfo> {
 public:
  // Whether the ranges ascend without overlap, each with in <= out.
  static bool AreValid(const Ranges& ranges);

  // Exchanges the object's ranges for these, which are valid.
  void _Take(Ranges& ranges);

  IRkClipTrimInfo* Clone() override;
  // Nothing changes for a null source, or one whose ranges are not valid.
  void CopyFrom(IRkClipTrimInfo* source) override;
  void GetTrimInOuts(Ranges& ranges) override;

 private:
  CRkCriticalSection m_lock;
  Ranges m_ranges RK_GUARDED_BY(m_lock);
};
