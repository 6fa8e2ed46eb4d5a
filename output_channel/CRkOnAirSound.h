#pragma once

#include <atomic>

#include "contracts/RkKernel.h"

// Keeps the sound on air exact where positions jump: from pass to pass, list to list, and over seeks.
//
// An element gives each frame its share of the sound by the frame's place on its list, floor((p + 1) x r) -
// floor(p x r) for r samples a frame. Where r is no whole number every jump from one position to another
// loses or gains part of a sample. This object adds those parts up and keeps their sum between none and one
// sample: it repeats or drops the last sample of the frame that follows the jump. So the samples delivered
// are always floor(frames x r) or one more. Where r is whole, no sample is ever touched.
//
// A sample is corrected in a copy with blocks of its own: an element or a hook may hand out its samples and
// blocks several times. Sound that does not follow the share rule is never touched. Without memory for the
// copy the deviation waits for the next jump.
//
// Threads: one at a time delivers; any thread sets the rates. The new rates hold from the next delivery on.
class CRkOnAirSound {
 public:
  void SetFrameRate(int rate);  // an ERkFrameRate
  void SetSamplesPerSecond(DWORD samples);

  // Notes the next sample on air. Where the length of its sound must change by one sample, replaces it, and
  // the caller's reference, by a corrected copy.
  void Deliver(IRkAVPlaySample** sample);

 private:
  void _TakeOverRates();
  ULONGLONG _PartBefore(UINT position) const;
  DWORD _Share(UINT position) const;
  void _Correct(IRkAVPlaySample** sample, UINT position);

  std::atomic<int> m_setFrameRate = -1;
  std::atomic<DWORD> m_setSamplesPerSecond = 0;

  int m_frameRate = -1;
  DWORD m_samplesPerSecond = 0;
  ULONGLONG m_numerator = 0;   // r = numerator / denominator samples a frame
  LONGLONG m_denominator = 1;  // 1 where r is whole
  UINT m_nextPosition = 0;     // without a jump
  // By how much the samples delivered exceed the exact share at the last jump, in 1 / m_denominator samples.
  LONGLONG m_excess = 0;
};
