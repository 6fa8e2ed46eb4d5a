#include "libraries/kernel/audio/CRkAudioRing.h"

#include <algorithm>

CRkAudioRing::CRkAudioRing(DWORD spanBytes, BYTE silence) : m_bytes(spanBytes, silence), m_silence(silence) {}

void CRkAudioRing::Reset() {
  std::fill(m_bytes.begin(), m_bytes.end(), m_silence);
  m_read = 0;
  m_writtenEnd = 0;
}

template <class Part>
void CRkAudioRing::_ForEachPart(ULONGLONG position, ULONGLONG bytes, Part part) {
  const ULONGLONG offset = position % m_bytes.size();
  const ULONGLONG toEnd = std::min<ULONGLONG>(bytes, m_bytes.size() - offset);
  part(m_bytes.data() + offset, ULONGLONG{0}, toEnd);
  part(m_bytes.data(), toEnd, bytes - toEnd);
}

ULONGLONG CRkAudioRing::_CountSound(const BYTE* data, ULONGLONG bytes) const {
  const bool isSilent = std::all_of(data, data + bytes, [this](BYTE byte) { return byte == m_silence; });
  return isSilent ? 0 : bytes;
}

ULONGLONG CRkAudioRing::Write(const BYTE* data, DWORD bytes, ULONGLONG position) {
  const ULONGLONG limit = m_read + m_bytes.size();
  if (position >= limit) return _CountSound(data, bytes);
  const ULONGLONG begin = std::max(position, m_read);
  const ULONGLONG end = std::min(position + bytes, limit);
  if (begin >= end) return _CountSound(data, bytes);
  const BYTE* const source = data + (begin - position);
  _ForEachPart(begin, end - begin, [source](BYTE* ring, ULONGLONG offset, ULONGLONG count) {
    std::copy_n(source + offset, count, ring);
  });
  m_writtenEnd = std::max(m_writtenEnd, end);
  return _CountSound(data, begin - position) + _CountSound(data + (end - position), position + bytes - end);
}

void CRkAudioRing::Read(BYTE* target, ULONGLONG bytes) {
  const ULONGLONG held = std::min<ULONGLONG>(bytes, m_bytes.size());
  _ForEachPart(m_read, held, [this, target](BYTE* ring, ULONGLONG offset, ULONGLONG count) {
    std::copy_n(ring, count, target + offset);
    std::fill_n(ring, count, m_silence);
  });
  std::fill_n(target + held, bytes - held, m_silence);
  m_read += bytes;
}

ULONGLONG CRkAudioRing::Drop(ULONGLONG bytes) {
  ULONGLONG lost = 0;
  _ForEachPart(m_read, std::min(bytes, Rest()), [this, &lost](BYTE* ring, ULONGLONG, ULONGLONG count) {
    lost += _CountSound(ring, count);
    std::fill_n(ring, count, m_silence);
  });
  m_read += bytes;
  return lost;
}
