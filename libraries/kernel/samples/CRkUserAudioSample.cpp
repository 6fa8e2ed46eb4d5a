#include "libraries/kernel/samples/CRkUserAudioSample.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "base/RkCreateObject.h"
#include "base/RkSampleFormat.h"

bool CRkUserAudioSample::CanHold(const SRkWaveFormatInfo& format, DWORD capacity) {
  return RkIsWholeFormat(format) &&
         static_cast<ULONGLONG>(capacity) * format.blockAlign <= std::numeric_limits<DWORD>::max();
}

CRkUserAudioSample::CRkUserAudioSample(const SRkWaveFormatInfo& format, std::unique_ptr<BYTE[]> memory,
                                       BYTE* data, DWORD capacity)
    : m_format(format), m_memory(std::move(memory)), m_data(data), m_capacity(capacity) {}

void CRkUserAudioSample::SetSampleCount(DWORD count) {
  m_sampleCount = std::min(count, m_capacity);
}

void CRkUserAudioSample::GetInfo(SRkAudioSampleInfo* info) {
  *info = {m_format, m_sampleCount * m_format.blockAlign};
}

int RkCreateUserAudioSample(const SRkWaveFormatInfo& format, void* data, DWORD capacity,
                            IRkAudioSample** audio) {
  if (!CRkUserAudioSample::CanHold(format, capacity)) return 0;
  std::unique_ptr<BYTE[]> memory;
  BYTE* bytes = static_cast<BYTE*>(data);
  if (bytes == nullptr) {
    // Not cleared: nothing is valid until a sample count says so.
    memory.reset(new (std::nothrow) BYTE[static_cast<std::size_t>(capacity) * format.blockAlign]);
    bytes = memory.get();
    if (bytes == nullptr) return 0;
  }
  return RkCreate<CRkUserAudioSample>(audio, format, std::move(memory), bytes, capacity);
}
