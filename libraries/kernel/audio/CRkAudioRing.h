#pragma once

#include <vector>

#include "contracts/RkTypes.h"

// A circular buffer over a stream of sound: the span from the read position on can be written, in any
// order. What was never written, or has been read, is silence. No thread, no clock; the owner locks.
//
//   stream:  ... read | <------------ span ------------> | ...
//            skipped  | kept                             | cut
class CRkAudioRing {
 public:
  // `spanBytes`: whole samples, above 0. `silence`: the byte that silence is made of.
  CRkAudioRing(DWORD spanBytes, BYTE silence);

  // Back to position 0, nothing written.
  void Reset();
  // `position` counts bytes from the start of the stream. Bytes already read are skipped, those beyond the
  // span are cut. Returns how many bytes of sound were skipped or cut; silence does not count.
  ULONGLONG Write(const BYTE* data, DWORD bytes, ULONGLONG position);
  // Takes the next bytes of the stream and leaves silence in their place.
  void Read(BYTE* target, ULONGLONG bytes);
  // Passes over the next bytes of the stream. Returns how many bytes of written sound are lost by it.
  ULONGLONG Drop(ULONGLONG bytes);

  ULONGLONG WrittenEnd() const { return m_writtenEnd; }  // the furthest position written up to
  // Bytes from the read position to the last one written.
  ULONGLONG Rest() const { return m_writtenEnd > m_read ? m_writtenEnd - m_read : 0; }

 private:
  // Calls `part(bytes in the ring, offset from `position`, count)` for the pieces of a stretch that is no
  // longer than the span.
  template <class Part>
  void _ForEachPart(ULONGLONG position, ULONGLONG bytes, Part part);
  // The count, or 0 when all of the bytes are silent.
  ULONGLONG _CountSound(const BYTE* data, ULONGLONG bytes) const;

  std::vector<BYTE> m_bytes;
  const BYTE m_silence;
  ULONGLONG m_read = 0;
  ULONGLONG m_writtenEnd = 0;
};
