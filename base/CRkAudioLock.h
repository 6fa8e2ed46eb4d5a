#pragma once

#include "contracts/RkKernel.h"

// Locks the bytes of an audio block for its scope. Borrows the block.
class CRkAudioLock {
 public:
  explicit CRkAudioLock(IRkAudioSample& audio) : m_audio(audio) { m_audio.Lock(&m_lock); }
  ~CRkAudioLock() { m_audio.Unlock(); }
  CRkAudioLock(const CRkAudioLock&) = delete;
  CRkAudioLock& operator=(const CRkAudioLock&) = delete;

  BYTE* Data() const { return m_lock.data; }
  DWORD SampleCount() const { return m_lock.sampleCount; }
  // In the form that RkAudioUtils takes.
  SRkLockAudioSample& Record() { return m_lock; }

 private:
  IRkAudioSample& m_audio;
  SRkLockAudioSample m_lock = {};
};
