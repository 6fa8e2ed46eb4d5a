#pragma once

#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkUnknown.h"
#include "contracts/RkClipCore.h"

// The ranges of a clip that are presented. Any thread may enter; the lock guards the ranges, and another
// trim information is asked for its own before it is taken, so that two may copy from each other.
class CRkClipTrimInfo final : public CRkUnknown<IRkClipTrimInfo> {
 public:
  using Ranges = std::vector<IRkClipTrimInfo::SRkTrimInOut>;

  // Ascending, without overlap, each in <= out.
  static bool AreValid(const Ranges& ranges);

  // In place of its own; they are valid.
  void _Take(Ranges& ranges);

  IRkClipTrimInfo* Clone() override;
  // Nothing changes when the source is null, or its ranges are not valid.
  void CopyFrom(IRkClipTrimInfo* source) override;
  void GetTrimInOuts(Ranges& ranges) override;

 private:
  CRkCriticalSection m_lock;
  Ranges m_ranges RK_GUARDED_BY(m_lock);
};
