#include <cmath>
#include <cstring>

#include "base/RkSampleFormat.h"
#include "contracts/RkAVUtils.h"

namespace {

// The block's size is known to the compiler, so that a copy is a few moves and no call.
template <size_t kBytes>
void CopyBlocksOf(const BYTE* source, BYTE* target, size_t targetStep, DWORD count) {
  for (DWORD index = 0; index < count; ++index, source += kBytes, target += targetStep)
    std::memcpy(target, source, kBytes);
}

void CopyBlocks(const BYTE* source, size_t blockBytes, BYTE* target, size_t targetStep, DWORD count) {
  switch (blockBytes) {
    case 1:
      return CopyBlocksOf<1>(source, target, targetStep, count);
    case 2:
      return CopyBlocksOf<2>(source, target, targetStep, count);
    case 3:
      return CopyBlocksOf<3>(source, target, targetStep, count);
    case 4:
      return CopyBlocksOf<4>(source, target, targetStep, count);
    case 6:
      return CopyBlocksOf<6>(source, target, targetStep, count);
    case 8:
      return CopyBlocksOf<8>(source, target, targetStep, count);
    default:
      break;
  }
  for (DWORD index = 0; index < count; ++index, source += blockBytes, target += targetStep)
    std::memcpy(target, source, blockBytes);
}

}  // namespace

DWORD RkAudioUtils::GetAudioBufferSize(const SRkWaveFormatInfo& format, double milliseconds) {
  const size_t frameBytes = RkFrameBytes(format);
  if (frameBytes == 0 || !(milliseconds > 0)) return 0;
  // A duration that is meant as a whole number of samples may lie a little below it as a double.
  const double samples = std::floor(milliseconds * format.samplesPerSecond / 1000.0 + 1e-6);
  const size_t most = 0xFFFFFFFFu / frameBytes;
  return static_cast<DWORD>((samples < static_cast<double>(most) ? static_cast<size_t>(samples) : most) *
                            frameBytes);
}

void RkAudioUtils::SilientAudioBuffer(const SRkWaveFormatInfo& format, BYTE* data, DWORD sampleCount) {
  const size_t bytes = RkFrameBytes(format) * sampleCount;
  if (data != nullptr && bytes > 0) std::memset(data, RkSilentByte(format), bytes);
}

int RkAudioUtils::CopyAudioChannelSamples(const SRkWaveFormatInfo& sourceFormat, BYTE* source,
                                          const SRkWaveFormatInfo& targetFormat, BYTE* target,
                                          DWORD sampleCount) {
  const size_t blockBytes = RkFrameBytes(sourceFormat);
  const size_t targetStep = RkFrameBytes(targetFormat);
  if (blockBytes == 0 || source == nullptr || target == nullptr) return 0;
  if (sourceFormat.bitsPerSample != targetFormat.bitsPerSample || blockBytes > targetStep) return 0;
  if (blockBytes == targetStep)
    std::memcpy(target, source, blockBytes * sampleCount);
  else
    CopyBlocks(source, blockBytes, target, targetStep, sampleCount);
  return 1;
}
