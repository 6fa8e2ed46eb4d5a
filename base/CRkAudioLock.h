#pragma once

#include "contracts/RkKernel.h"

// The bytes of an audio block, for one scope. The block must outlive it.
class CRkAudioLock {
 public:
  explicit CRkAudioLock(IRkAudioSample& audio) : m_audio(audio) { m_audio.Lock(&m_lock); }
  ~CRkAudioLock() { m_audio.Unlock(); }
  CRkAudioLock(const CRkAudioLock&) = delete;
  CRkAudioLock& operator=(const CRkAudioLock&) = delete;

  BYTE* Data() const { return m_lock.data; }
  DWORD SampleCount() const { return m_lock.sampleCount; }
  // As RkAudioUtils takes it.
  SRkLockAudioSample& Record() { return m_lock; }

 private:
  IRkAudioSample& m_audio;
  SRkLockAudioSample m_lock = {};
};
