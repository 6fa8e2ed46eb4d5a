#include "contracts/kernel/clip_core/CRkClipTrimInfo.h"

#include <new>

bool CRkClipTrimInfo::AreValid(const Ranges& ranges) {
  ULONGLONG previousOut = 0;
  for (const SRkTrimInOut& range : ranges) {
    if (range.in < previousOut || range.out < range.in) return false;
    previousOut = range.out;
  }
  return true;
}

IRkClipTrimInfo* CRkClipTrimInfo::Clone() {
  CRkScopedLock lock(m_lock);
  return new (std::nothrow) CRkClipTrimInfo(m_ranges);
}

void CRkClipTrimInfo::CopyFrom(IRkClipTrimInfo* source) {
  if (source == nullptr) return;
  Ranges ranges;
  source->GetTrimInOuts(ranges);
  if (!AreValid(ranges)) return;
  CRkScopedLock lock(m_lock);
  m_ranges.swap(ranges);
}

void CRkClipTrimInfo::GetTrimInOuts(Ranges& ranges) {
  CRkScopedLock lock(m_lock);
  ranges.insert(ranges.end(), m_ranges.begin(), m_ranges.end());
}

int RkCreateClipTrimInfo(const CRkClipTrimInfo::Ranges& ranges, IRkClipTrimInfo** info) {
  if (info == nullptr || !CRkClipTrimInfo::AreValid(ranges)) return 0;
  CRkClipTrimInfo* created = new (std::nothrow) CRkClipTrimInfo(ranges);
  if (created == nullptr) return 0;
  *info = created;
  return 1;
}
