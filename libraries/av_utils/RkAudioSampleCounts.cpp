#include "contracts/RkAVUtils.h"

namespace {

// floor(frame x samplesPerSecond x denominator / numerator). The product may need 76 bits, so whole
// multiples of the numerator are taken out of the frame number first.
ULONGLONG FirstSampleOf(ULONGLONG frame, DWORD samplesPerSecond, const SRkFrameRateFraction& rate) {
  const ULONGLONG samplesPerNumerator = static_cast<ULONGLONG>(samplesPerSecond) * rate.denominator;
  return frame / rate.numerator * samplesPerNumerator +
         frame % rate.numerator * samplesPerNumerator / rate.numerator;
}

}  // namespace

ULONGLONG RkAudioUtils::GetAudioSampleCounts(const DWORD& samplesPerSecond, const ERkFrameRate& rate,
                                             DWORD firstFrame, DWORD frameCount) {
  if (!RkIsFrameRate(rate)) return 0;
  const SRkFrameRateFraction& fraction = kRkFrameRates[rate];
  const ULONGLONG first = firstFrame;
  return FirstSampleOf(first + frameCount, samplesPerSecond, fraction) -
         FirstSampleOf(first, samplesPerSecond, fraction);
}
