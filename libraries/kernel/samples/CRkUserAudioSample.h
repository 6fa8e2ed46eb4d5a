#pragma once

#include <memory>

#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"

// A block of audio in memory of its own or of the caller's. One thread at a time uses it and it passes
// between threads by reference, so Lock and Unlock guard nothing.
class CRkUserAudioSample : public CRkUnknown<IRkAudioSample> {
 public:
  // Whether samples of the format can be held, and `capacity` of them counted in bytes by a DWORD.
  static bool CanHold(const SRkWaveFormatInfo& format, DWORD capacity);

  // `memory` owns the data, or is empty where the caller owns it.
  CRkUserAudioSample(const SRkWaveFormatInfo& format, std::unique_ptr<BYTE[]> memory, BYTE* data,
                     DWORD capacity);

  void SetSampleCount(DWORD count) override;
  void GetInfo(SRkAudioSampleInfo* info) override;
  void Lock(SRkLockAudioSample* lock) override { *lock = {m_data, m_capacity, m_sampleCount}; }
  void Unlock() override {}

 protected:
  ~CRkUserAudioSample() override = default;

 private:
  const SRkWaveFormatInfo m_format;
  const std::unique_ptr<BYTE[]> m_memory;
  BYTE* const m_data;
  const DWORD m_capacity;
  DWORD m_sampleCount = 0;
};
