#pragma once

#include "tests/support/RkFakes.h"
#include "tests/support/RkSamples.h"

// Byte n of the test's stream of sound; never silent, and it repeats after no power of two.
inline BYTE StreamByte(ULONGLONG position) {
  return static_cast<BYTE>(1 + position % 251);
}

inline CRkRef<IRkAudioSample> MakeSound(ULONGLONG position, DWORD bytes) {
  CRkRef<IRkAudioSample> sample;
  const DWORD frames = bytes / kTestAudio.blockAlign;
  if (!RkCreateUserAudioSample(kTestAudio, nullptr, frames, sample.Out())) return {};
  for (DWORD i = 0; i < bytes; ++i) CRkAudioLock(*sample).Data()[i] = StreamByte(position + i);
  sample->SetSampleCount(frames);
  return sample;
}

// The stream up to `streamBytes`, then zeroes up to `bytes`.
inline std::vector<BYTE> StreamThenSilence(ULONGLONG streamBytes, size_t bytes) {
  std::vector<BYTE> sound(bytes, 0);
  for (ULONGLONG i = 0; i < streamBytes; ++i) sound[i] = StreamByte(i);
  return sound;
}

// Keeps what it hears. Any thread may enter.
class CSoundRecorder : public CFake<IRkAudioMonitor> {
 public:
  void OnRenderer(IRkAudioDirectSound* renderer, const SRkWaveFormatInfo& format) override {
    std::lock_guard lock(m_mutex);
    m_created += renderer != nullptr && format.channels == kTestAudio.channels;
  }
  void OnSound(const BYTE* data, DWORD bytes) override {
    std::lock_guard lock(m_mutex);
    m_heard.insert(m_heard.end(), data, data + bytes);
  }
  std::vector<BYTE> Heard() {
    std::lock_guard lock(m_mutex);
    return m_heard;
  }
  int Created() {
    std::lock_guard lock(m_mutex);
    return m_created;
  }

 private:
  std::mutex m_mutex;
  std::vector<BYTE> m_heard;
  int m_created = 0;
};
