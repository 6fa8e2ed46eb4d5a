#pragma once

#include <set>
#include <string>

#include "base/CRkCriticalSection.h"
#include "base/CRkUnknown.h"
#include "contracts/RkMediaElement.h"

namespace rkplay {

// Remembers which frames of one element could not be read, so that those that went on air can be counted
// later: the engine reads ahead of the air, and more than once what repeats.
//
// The sink is called on the engine's worker threads; the rest may be used by any thread meanwhile.
class ReadErrors final : public CRkUnknown<IRkMediaReadSink> {
 public:
  void OnFrameSubstituted(UINT offset, const char* reason) override {
    CRkScopedLock lock(m_lock);
    m_offsets.insert(offset);
    ++m_reports;
    if (m_firstReason.empty()) m_firstReason = reason;
  }

  bool Has(UINT offset) const {
    CRkScopedLock lock(m_lock);
    return m_offsets.count(offset) != 0;
  }
  // How often a read has put another frame in place.
  ULONGLONG Reports() const {
    CRkScopedLock lock(m_lock);
    return m_reports;
  }
  std::set<UINT> Offsets() const {
    CRkScopedLock lock(m_lock);
    return m_offsets;
  }
  std::string FirstReason() const {
    CRkScopedLock lock(m_lock);
    return m_firstReason;
  }

 private:
  ~ReadErrors() override = default;

  mutable CRkCriticalSection m_lock;
  std::set<UINT> m_offsets RK_GUARDED_BY(m_lock);
  ULONGLONG m_reports RK_GUARDED_BY(m_lock) = 0;
  std::string m_firstReason RK_GUARDED_BY(m_lock);
};

}  // namespace rkplay
