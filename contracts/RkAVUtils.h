#pragma once

#include "contracts/RkMediaRecords.h"

#if defined(RkAVUtils_EXPORTS)
#define RK_AV_UTILS_API RK_EXPORT
#else
#define RK_AV_UTILS_API RK_IMPORT
#endif

// Audio helpers for integer samples of 8 (unsigned), 16, 24 and 32 bits. None blocks; any thread may call.
namespace RkAudioUtils {

// Bytes of audio in the format for the duration, in whole samples; 0 for a duration not above 0 and for a
// sample size other than those above.
RK_AV_UTILS_API DWORD GetAudioBufferSize(const SRkWaveFormatInfo& format, double milliseconds);

// Samples per channel in `frameCount` frames from `firstFrame` on. Consecutive spans add up to the exact
// total: frame n begins at sample floor(n x samplesPerSecond x denominator / numerator). 0 for a rate
// outside the table.
RK_AV_UTILS_API ULONGLONG GetAudioSampleCounts(const DWORD& samplesPerSecond, const ERkFrameRate& rate,
                                               DWORD firstFrame, DWORD frameCount);

// Writes silence over `sampleCount` samples per channel; nothing for a sample size other than those above.
RK_AV_UTILS_API void SilientAudioBuffer(const SRkWaveFormatInfo& format, BYTE* data, DWORD sampleCount);

// Copies every channel of an interleaved source into a wider interleaved target of the same sample size,
// starting at the channel that `target` points to. 0, and no change, when the sizes differ or are none of the
// above.
RK_AV_UTILS_API int CopyAudioChannelSamples(const SRkWaveFormatInfo& sourceFormat, BYTE* source,
                                            const SRkWaveFormatInfo& targetFormat, BYTE* target,
                                            DWORD sampleCount);

// Mixes the source's channels into 16-bit stereo with their gains (one per channel) and saturates. Mixes as
// many samples as both buffers hold and does not convert rates. 0, and no change, for a target other than
// 16-bit stereo, a sample size other than those above and more than 255 channels.
RK_AV_UTILS_API int MixAudioSampleTo16bitStereo(SRkWaveFormatInfo& sourceFormat, SRkLockAudioSample& source,
                                                SRkWaveFormatInfo& targetFormat, SRkLockAudioSample& target,
                                                SRkAudioMixParam* gains, int channelCount);

}  // namespace RkAudioUtils
