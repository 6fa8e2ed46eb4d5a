#include "libraries/clip_core/CRkClipTrimInfo.h"

#include <utility>

#include "base/RkCreateObject.h"

namespace {

using Ranges = CRkClipTrimInfo::Ranges;

// False without memory; nothing is appended then.
bool Append(const Ranges& source, Ranges& target) {
  return RkWithinMemory([&] { target.insert(target.end(), source.begin(), source.end()); });
}

}  // namespace

bool CRkClipTrimInfo::AreValid(const Ranges& ranges) {
  ULONGLONG previousOut = 0;
  for (const SRkTrimInOut& range : ranges) {
    if (range.in < previousOut || range.out < range.in) return false;
    previousOut = range.out;
  }
  return true;
}

IRkClipTrimInfo* CRkClipTrimInfo::Clone() {
  Ranges ranges;
  {
    CRkScopedLock lock(m_lock);
    if (!Append(m_ranges, ranges)) return nullptr;
  }
  auto* const clone = RkTryNew<CRkClipTrimInfo>();
  if (clone != nullptr) clone->_Take(ranges);
  return clone;
}

void CRkClipTrimInfo::CopyFrom(IRkClipTrimInfo* source) {
  if (source == nullptr) return;
  Ranges ranges;
  source->GetTrimInOuts(ranges);
  if (AreValid(ranges)) _Take(ranges);
}

void CRkClipTrimInfo::_Take(Ranges& ranges) {
  CRkScopedLock lock(m_lock);
  m_ranges.swap(ranges);
}

void CRkClipTrimInfo::GetTrimInOuts(Ranges& ranges) {
  CRkScopedLock lock(m_lock);
  Append(m_ranges, ranges);
}

int RkCreateClipTrimInfo(const CRkClipTrimInfo::Ranges& ranges, IRkClipTrimInfo** info) {
  if (info == nullptr || !CRkClipTrimInfo::AreValid(ranges)) return 0;
  CRkClipTrimInfo::Ranges copy;
  if (!Append(ranges, copy)) return 0;
  auto created = CRkRef<CRkClipTrimInfo>::Adopt(RkTryNew<CRkClipTrimInfo>());
  if (created) created->_Take(copy);
  return RkHandOut(std::move(created), info);
}
