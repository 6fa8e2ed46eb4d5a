#include "platform/linux/CRkWait.h"

DWORD CRkWait::Run(DWORD timeoutMs) {
  DWORD index = 0;
  // A wait for all takes its units under all its locks, and must be in the queues for that.
  if (!m_waiter.WaitsForAll() && TakeLowest(index)) return WAIT_OBJECT_0 + index;
  if (timeoutMs == 0 && !(m_waiter.WaitsForAll() && AllLookSignalled())) return WAIT_TIMEOUT;

  const CRkWakeMoment deadline(timeoutMs);
  JoinQueues();
  for (ERkPark parked = ERkPark::Woken;;) {
    m_waiter.Forget();
    if (Take(index)) return WAIT_OBJECT_0 + index;
    if (parked == ERkPark::TimedOut) return WAIT_TIMEOUT;
    parked = m_waiter.Park(deadline);
    if (parked == ERkPark::Failed) {
      SetLastError(ERROR_NOT_SUPPORTED);
      return WAIT_FAILED;
    }
  }
}

bool CRkWait::Take(DWORD& index) {
  return m_waiter.WaitsForAll() ? TakeAll() : TakeLowest(index);
}

bool CRkWait::TakeLowest(DWORD& index) {
  for (;;) {
    CRkWaitable::State state = 0;
    index = FirstSignalled(m_count, state);
    if (index == m_count) return false;
    // A lower object may have been signalled after our look at it and before the one we found.
    CRkWaitable::State below = 0;
    if (FirstSignalled(index, below) != index) continue;
    if (m_objects[index]->TakeIfStill(state)) return true;
  }
}

DWORD CRkWait::FirstSignalled(DWORD count, CRkWaitable::State& state) const {
  for (DWORD i = 0; i < count; ++i) {
    state = m_objects[i]->Look();
    if (CRkWaitable::IsSignalled(state)) return i;
  }
  return count;
}

bool CRkWait::AllLookSignalled() const {
  for (DWORD i = 0; i < m_count; ++i) {
    if (!CRkWaitable::IsSignalled(m_objects[i]->Look())) return false;
  }
  return true;
}

// The set of locks is known only at run time.
bool CRkWait::TakeAll() RK_NO_THREAD_SAFETY_ANALYSIS {
  if (!AllLookSignalled()) return false;
  CRkWakeList wakes;
  for (DWORD i = 0; i < m_count; ++i) m_objects[i]->EnterLock();
  // No other thread can change them now.
  const bool all = AllLookSignalled();
  for (DWORD i = m_count; i-- > 0;) {
    if (all) {
      m_objects[i]->TakeLocked();
      m_objects[i]->LeaveLocked(m_links[i], wakes);
    }
    m_objects[i]->LeaveLock();
  }
  if (all) m_joined = false;
  return all;
}

void CRkWait::JoinQueues() {
  m_joined = true;
  for (DWORD i = 0; i < m_count; ++i) m_objects[i]->Join(m_links[i], m_waiter);
}

void CRkWait::LeaveQueues() {
  if (!m_joined) return;
  m_joined = false;
  for (DWORD i = 0; i < m_count; ++i) m_objects[i]->Leave(m_links[i]);
}
