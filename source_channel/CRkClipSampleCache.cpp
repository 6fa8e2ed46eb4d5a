#include "source_channel/CRkClipSampleCache.h"

#include <new>
#include <utility>

namespace {

// What a semaphore can count; a larger capacity gets no semaphores.
LONG SemaphoreCount(UINT capacity) {
  return static_cast<LONG>(capacity);
}

}  // namespace

CRkClipSampleCache::CRkClipSampleCache(UINT capacity)
    : m_capacity(capacity),
      m_entries(SemaphoreCount(capacity) > 0 ? new (std::nothrow) SEntry[capacity] : nullptr),
      m_freeSpace(CRkHandle::Semaphore(SemaphoreCount(capacity), SemaphoreCount(capacity))),
      m_queuedSamples(CRkHandle::Semaphore(0, SemaphoreCount(capacity))),
      m_thresholdEvent(CRkHandle::ManualResetEvent()) {}

CRkClipSampleCache::~CRkClipSampleCache() {
  CRkScopedLock lock(m_queueLock);
  _ReleaseQueue();
}

bool CRkClipSampleCache::IsValid() const {
  return m_entries != nullptr && m_freeSpace && m_queuedSamples && m_thresholdEvent;
}

BOOL CRkClipSampleCache::PutSample(IRkAVPlaySample* sample, LONG tag, HANDLE abortEvent) {
  if (sample == nullptr) return FALSE;
  const HANDLE awaited[] = {m_freeSpace, abortEvent};
  const DWORD count = abortEvent != nullptr ? 2 : 1;
  if (WaitForMultipleObjects(count, awaited, FALSE, INFINITE) != WAIT_OBJECT_0) return FALSE;

  auto reference = CRkRef<IRkAVPlaySample>::Retain(sample);
  CRkScopedLock queue(m_queueLock);
  _Append(std::move(reference), tag);
  ReleaseSemaphore(m_queuedSamples, 1, nullptr);
  CRkScopedLock threshold(m_thresholdLock);
  if (m_threshold >= 0 && m_count >= static_cast<UINT>(m_threshold)) SetEvent(m_thresholdEvent);
  return TRUE;
}

BOOL CRkClipSampleCache::GetSample(UINT timeoutMs, IRkAVPlaySample** sample, LONG* tag) {
  if (sample == nullptr) return FALSE;
  *sample = nullptr;
  if (!RkWait(m_queuedSamples, timeoutMs)) return FALSE;

  CRkScopedLock queue(m_queueLock);
  if (m_count == 0) return FALSE;  // flushed since the wait
  *sample = _RemoveOldest(tag).Detach();
  ReleaseSemaphore(m_freeSpace, 1, nullptr);
  return TRUE;
}

BOOL CRkClipSampleCache::Flush() {
  CRkScopedLock queue(m_queueLock);
  const UINT flushed = m_count;
  // A consumer may hold one of these units already; it then finds the queue empty.
  for (UINT i = 0; i < flushed; ++i) RkWait(m_queuedSamples, 0);
  _ReleaseQueue();
  if (flushed > 0) ReleaseSemaphore(m_freeSpace, SemaphoreCount(flushed), nullptr);
  ResetEvent(m_thresholdEvent);
  _SetThreshold(kNoThreshold);
  return TRUE;
}

BOOL CRkClipSampleCache::WaitForCount(UINT timeoutMs, LONG count) {
  ResetEvent(m_thresholdEvent);
  _SetThreshold(count);
  const bool reached = RkWait(m_thresholdEvent, timeoutMs);
  _SetThreshold(kNoThreshold);
  return reached ? TRUE : FALSE;
}

void CRkClipSampleCache::_Append(CRkRef<IRkAVPlaySample> sample, LONG tag) {
  m_entries[(m_oldest + m_count++) % m_capacity] = {sample.Detach(), tag};
}

CRkRef<IRkAVPlaySample> CRkClipSampleCache::_RemoveOldest(LONG* tag) {
  const SEntry entry = m_entries[m_oldest];
  m_oldest = (m_oldest + 1) % m_capacity;
  --m_count;
  *tag = entry.tag;
  return CRkRef<IRkAVPlaySample>::Adopt(entry.sample);
}

void CRkClipSampleCache::_ReleaseQueue() {
  LONG tag = 0;
  while (m_count > 0) _RemoveOldest(&tag);
}

void CRkClipSampleCache::_SetThreshold(LONG count) {
  CRkScopedLock threshold(m_thresholdLock);
  m_threshold = count;
}
