#include "source_channel/CRkClipSampleCache.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "base/RkMonotonicTime.h"

namespace {

constexpr LONG kNoCount = -1;
constexpr UINT kFirstSlots = 64;
constexpr LONG kMostUnits = std::numeric_limits<LONG>::max();

}  // namespace

CRkClipSampleCache::CRkClipSampleCache(UINT capacity)
    : m_capacity(capacity),
      m_countReached(CRkHandle::ManualResetEvent()),
      m_entries(new (std::nothrow) SEntry[std::min(capacity, kFirstSlots)]),
      m_slots(std::min(capacity, kFirstSlots)),
      m_awaitedCount(kNoCount),
      m_producers{0, CRkHandle::Semaphore(0, kMostUnits)},
      m_refillers{0, CRkHandle::Semaphore(0, kMostUnits)},
      m_consumers{0, CRkHandle::Semaphore(0, kMostUnits)} {}

CRkClipSampleCache::~CRkClipSampleCache() {
  CRkScopedLock lock(m_lock);
  _ReleaseQueue();
}

bool CRkClipSampleCache::IsValid() const {
  return m_capacity > 0 && m_capacity <= static_cast<UINT>(kMostUnits) && m_entries != nullptr &&
         m_countReached && m_producers.wake && m_refillers.wake && m_consumers.wake;
}

BOOL CRkClipSampleCache::PutSample(IRkAVPlaySample* sample, LONG tag, HANDLE abortEvent) {
  if (sample == nullptr) return FALSE;
  const HANDLE awaited[] = {m_producers.wake, abortEvent};
  const DWORD count = abortEvent != nullptr ? 2 : 1;
  while (!_TryPut(*sample, tag)) {
    if (WaitForMultipleObjects(count, awaited, FALSE, INFINITE) == WAIT_OBJECT_0) continue;
    _StopWaiting(m_producers);
    return FALSE;
  }
  return TRUE;
}

// Registers the caller as a waiting producer when the cache is full.
bool CRkClipSampleCache::_TryPut(IRkAVPlaySample& sample, LONG tag) {
  CRkScopedLock lock(m_lock);
  if (!_HasRoom()) {
    ++m_producers.count;
    return false;
  }
  UINT slot = m_oldest + m_count++;
  if (slot >= m_slots) slot -= m_slots;
  sample.AddRef();
  m_entries[slot] = {&sample, tag};
  _Wake(m_consumers);
  if (m_awaitedCount >= 0 && m_count >= static_cast<UINT>(m_awaitedCount)) SetEvent(m_countReached);
  return true;
}

BOOL CRkClipSampleCache::GetSample(UINT timeoutMs, IRkAVPlaySample** sample, LONG* tag) {
  if (sample == nullptr) return FALSE;
  *sample = nullptr;
  const bool waits = timeoutMs > 0;
  ETake take = _TryGet(waits, sample, tag);
  if (take != ETake::Empty || !waits) return take == ETake::Taken ? TRUE : FALSE;

  const CRkDeadline deadline(timeoutMs);
  do {
    if (!RkWait(m_consumers.wake, deadline.RemainingMs())) {
      _StopWaiting(m_consumers);
      return _TryGet(false, sample, tag) == ETake::Taken ? TRUE : FALSE;
    }
    take = _TryGet(true, sample, tag);
  } while (take == ETake::Empty);
  return take == ETake::Taken ? TRUE : FALSE;
}

// `registers`: the caller waits when the cache is empty.
CRkClipSampleCache::ETake CRkClipSampleCache::_TryGet(bool registers, IRkAVPlaySample** sample, LONG* tag) {
  CRkScopedLock lock(m_lock);
  if (m_isInterrupted) {
    m_isInterrupted = false;
    return ETake::Interrupted;
  }
  if (m_count == 0) {
    if (registers) ++m_consumers.count;
    return ETake::Empty;
  }
  *sample = _RemoveOldest(tag).Detach();
  _TellRoom();
  return ETake::Taken;
}

BOOL CRkClipSampleCache::Flush() {
  CRkScopedLock lock(m_lock);
  _ReleaseQueue();
  m_isInterrupted = m_isHurried = false;
  ResetEvent(m_countReached);
  m_awaitedCount = kNoCount;
  return TRUE;
}

BOOL CRkClipSampleCache::WaitForCount(UINT timeoutMs, LONG count) {
  const auto await = [this](LONG awaited) {
    CRkScopedLock lock(m_lock);
    m_awaitedCount = awaited;
  };
  ResetEvent(m_countReached);
  await(count);
  const bool reached = RkWait(m_countReached, timeoutMs);
  await(kNoCount);
  return reached ? TRUE : FALSE;
}

void CRkClipSampleCache::WaitForRoom(UINT places, HANDLE abortEvent) {
  {
    CRkScopedLock lock(m_lock);
    if (m_count < m_capacity || std::exchange(m_isHurried, false)) return;
    m_awaitedRoom = places;
    ++m_refillers.count;
  }
  const HANDLE awaited[] = {m_refillers.wake, abortEvent};
  const DWORD count = abortEvent != nullptr ? 2 : 1;
  if (WaitForMultipleObjects(count, awaited, FALSE, INFINITE) != WAIT_OBJECT_0) _StopWaiting(m_refillers);
}

void CRkClipSampleCache::HurryRefill() {
  CRkScopedLock lock(m_lock);
  m_isHurried = m_refillers.count == 0;
  _Wake(m_refillers);
}

BOOL CRkClipSampleCache::MarkNewest(LONG bits) {
  CRkScopedLock lock(m_lock);
  if (m_count == 0) return FALSE;
  m_entries[(m_oldest + m_count - 1) % m_slots].tag |= bits;
  return TRUE;
}

void CRkClipSampleCache::Interrupt() {
  CRkScopedLock lock(m_lock);
  m_isInterrupted = true;
  _Wake(m_consumers);
}

bool CRkClipSampleCache::_HasRoom() {
  return m_count < m_slots || (m_slots < m_capacity && _Grow());
}

// Without memory the cache is full at what it has.
bool CRkClipSampleCache::_Grow() {
  const UINT slots = m_slots > m_capacity / 2 ? m_capacity : 2 * m_slots;
  std::unique_ptr<SEntry[]> entries(new (std::nothrow) SEntry[slots]);
  if (entries == nullptr) return false;
  SEntry* const begin = m_entries.get();
  std::rotate_copy(begin, begin + m_oldest, begin + m_slots, entries.get());  // the ring is full
  m_entries = std::move(entries);
  m_slots = slots;
  m_oldest = 0;
  return true;
}

CRkRef<IRkAVPlaySample> CRkClipSampleCache::_RemoveOldest(LONG* tag) {
  const SEntry entry = m_entries[m_oldest];
  if (++m_oldest == m_slots) m_oldest = 0;
  --m_count;
  *tag = entry.tag;
  return CRkRef<IRkAVPlaySample>::Adopt(entry.sample);
}

void CRkClipSampleCache::_ReleaseQueue() {
  LONG tag = 0;
  while (m_count > 0) {
    _RemoveOldest(&tag);
    _TellRoom();
  }
}

// For each sample that is removed.
void CRkClipSampleCache::_TellRoom() {
  _Wake(m_producers);
  if (m_capacity - m_count >= m_awaitedRoom) _Wake(m_refillers);
}

void CRkClipSampleCache::_Wake(SWaiters& waiters) {
  if (waiters.count == 0) return;
  --waiters.count;
  ReleaseSemaphore(waiters.wake, 1, nullptr);
}

// For a thread that has registered and gives up.
void CRkClipSampleCache::_StopWaiting(SWaiters& waiters) {
  CRkScopedLock lock(m_lock);
  if (waiters.count > 0) {
    --waiters.count;
  } else {
    RkWait(waiters.wake, 0);  // was woken meanwhile
  }
}
