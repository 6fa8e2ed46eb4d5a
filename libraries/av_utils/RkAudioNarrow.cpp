#include "libraries/av_utils/RkAudioNarrow.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr size_t kStep = 16;               // samples that are rounded together
constexpr size_t kSourceStep = 3 * kStep;  // bytes
constexpr size_t kReadBeyond = 4;          // bytes that a step reads past its samples

// Four samples from each of two places, 12 bytes each, as 24-bit numbers rounded to their upper 16 bits.
__attribute__((target("avx2"))) __m256i Round(const BYTE* low, const BYTE* high) {
  const __m256i spread = _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11,  //
                                          -1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
  const __m256i packed =
      _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(high), reinterpret_cast<const __m128i*>(low));
  const __m256i samples = _mm256_srai_epi32(_mm256_shuffle_epi8(packed, spread), 8);
  return _mm256_srai_epi32(_mm256_add_epi32(samples, _mm256_set1_epi32(128)), 8);
}

// Packing works on either half, so each pair of places is half a step apart.
__attribute__((target("avx2"))) void NarrowStep(const BYTE* source, BYTE* target) {
  const __m256i narrow = _mm256_packs_epi32(Round(source, source + 24), Round(source + 12, source + 36));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), narrow);
}

__attribute__((target("avx2"))) void Narrow(const BYTE* source, BYTE* target, size_t samples) {
  size_t done = 0;
  for (; 3 * (samples - done) >= kSourceStep + kReadBeyond; done += kStep)
    NarrowStep(source + 3 * done, target + 2 * done);
  while (done < samples) {
    const size_t rest = std::min(samples - done, kStep);
    BYTE from[kSourceStep + kReadBeyond] = {};
    BYTE to[2 * kStep];
    std::memcpy(from, source + 3 * done, 3 * rest);
    NarrowStep(from, to);
    std::memcpy(target + 2 * done, to, 2 * rest);
    done += rest;
  }
}

}  // namespace

bool RkNarrow24To16(const BYTE* source, BYTE* target, size_t samples) {
  static const bool isServed = __builtin_cpu_supports("avx2");
  if (isServed) Narrow(source, target, samples);
  return isServed;
}

#else

bool RkNarrow24To16(const BYTE*, BYTE*, size_t) {
  return false;
}

#endif
