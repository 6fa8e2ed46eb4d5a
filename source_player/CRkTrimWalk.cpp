#include "source_player/CRkTrimWalk.h"

namespace {

// Only the ranges hold 64-bit positions.
UINT Low(ULONGLONG position) {
  return static_cast<UINT>(position);
}

}  // namespace

UINT CRkTrimWalk::Begin(UINT sourcePosition) {
  if (m_ranges.empty()) return sourcePosition;
  m_offset = 0;
  ULONGLONG previousOut = 0;
  for (m_index = 0; m_index < m_ranges.size(); ++m_index) {
    const auto& range = m_ranges[m_index];
    m_offset += Low(range.in) - Low(previousOut);
    if (sourcePosition < range.in) return Low(range.in) - m_offset;
    if (sourcePosition < range.out) return sourcePosition - m_offset;
    previousOut = range.out;
  }
  Restart();
  return 0;
}

UINT CRkTrimWalk::SourceOf(UINT trimmedPosition) {
  const UINT source = trimmedPosition + m_offset;
  if (!m_ranges.empty() && _IsLastOfItsRange(source)) _NextRange();
  return source;
}

void CRkTrimWalk::Restart() {
  m_index = 0;
  m_offset = m_ranges.empty() ? 0 : Low(m_ranges.front().in);
}

bool CRkTrimWalk::_IsLastOfItsRange(UINT sourcePosition) const {
  return ULONGLONG{sourcePosition + 1} >= m_ranges[m_index].out;
}

void CRkTrimWalk::_NextRange() {
  if (m_index + 1 == m_ranges.size()) return Restart();
  m_offset += Low(m_ranges[m_index + 1].in) - Low(m_ranges[m_index].out);
  ++m_index;
}
