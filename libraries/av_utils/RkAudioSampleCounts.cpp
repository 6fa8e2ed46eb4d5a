#include "base/RkExactTime.h"
#include "contracts/RkAVUtils.h"

ULONGLONG RkAudioUtils::GetAudioSampleCounts(const DWORD& samplesPerSecond, const ERkFrameRate& rate,
                                             DWORD firstFrame, DWORD frameCount) {
  if (!RkIsFrameRate(rate)) return 0;
  const SRkFrameRateFraction& fraction = kRkFrameRates[rate];
  const ULONGLONG first = firstFrame;
  return RkFirstSampleOf(first + frameCount, samplesPerSecond, fraction) -
         RkFirstSampleOf(first, samplesPerSecond, fraction);
}
