#include "source_channel/CRkSourceProgress.h"

namespace {

constexpr UINT kEndOfList = 1;
constexpr UINT kNothingMore = 2;
constexpr UINT kWhilePaused = 4;
constexpr UINT kOddPass = 8;
constexpr int kEpochShift = 4;

// Epochs wrap where the tag ends.
constexpr UINT NextEpoch(UINT epoch) {
  return (epoch + 1) & (0xFFFFFFFFu >> kEpochShift);
}

}  // namespace

LONG SRkSampleTag::Pack() const {
  return static_cast<LONG>((epoch << kEpochShift) | (endOfList ? kEndOfList : 0) |
                           (nothingMore ? kNothingMore : 0) | (whilePaused ? kWhilePaused : 0) |
                           (oddPass ? kOddPass : 0));
}

SRkSampleTag SRkSampleTag::Unpack(LONG tag) {
  const UINT bits = static_cast<UINT>(tag);
  return {(bits & kEndOfList) != 0, (bits & kNothingMore) != 0, (bits & kWhilePaused) != 0,
          (bits & kOddPass) != 0, bits >> kEpochShift};
}

CRkSourceProgress::SStart CRkSourceProgress::Start() const {
  CRkScopedLock lock(m_lock);
  return {m_startPosition, m_epoch};
}

void CRkSourceProgress::Begin(UINT startPosition, int passes) {
  CRkScopedLock lock(m_lock);
  m_epoch = NextEpoch(m_epoch);
  m_endedPass.reset();
  m_startPosition = startPosition;
  m_passes = 0;
  m_repeatCount = passes;
  m_position = startPosition;
  m_status = RkSourceChannel_Playing;
}

void CRkSourceProgress::LeaveEpoch() {
  CRkScopedLock lock(m_lock);
  m_epoch = NextEpoch(m_epoch);
  m_endedPass.reset();
}

void CRkSourceProgress::Stop() {
  CRkScopedLock lock(m_lock);
  m_position = 0;
  m_status = RkSourceChannel_Stopped;
  m_repeatCount = 1;
  m_passes = 0;
}

void CRkSourceProgress::SetRepeatCount(int passes) {
  CRkScopedLock lock(m_lock);
  m_repeatCount = passes;
}

bool CRkSourceProgress::Deliver(UINT position, const SRkSampleTag& tag) {
  CRkScopedLock lock(m_lock);
  if (tag.epoch != m_epoch) return false;
  m_position = position;
  const bool endedMeanwhile = m_endedPass == tag.oddPass;
  m_endedPass.reset();
  if (tag.endOfList && !tag.whilePaused) _CountPass(tag.nothingMore);
  m_status =
      (tag.endOfList || endedMeanwhile) && _IsOver() ? RkSourceChannel_Stopped : RkSourceChannel_Playing;
  return true;
}

bool CRkSourceProgress::EndPass(const SRkSampleTag& tag) {
  CRkScopedLock lock(m_lock);
  if (tag.epoch != m_epoch) return false;
  _CountPass(tag.nothingMore);
  m_endedPass = tag.oddPass;
  if (!_IsOver() || m_status == RkSourceChannel_Stopped) return false;
  m_status = RkSourceChannel_Stopped;
  return true;
}

void CRkSourceProgress::_CountPass(bool nothingMore) {
  if (m_repeatCount == kRkRepeatEndless || m_passes >= m_repeatCount) return;
  m_passes = nothingMore ? m_repeatCount : m_passes + 1;
}

bool CRkSourceProgress::_IsOver() const {
  return m_repeatCount != kRkRepeatEndless && m_passes >= m_repeatCount;
}
