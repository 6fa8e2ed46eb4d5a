#include "platform/linux/CRkWaitable.h"

template <class Step>
bool CRkWaitable::ChangeBesideOthers(Step step) {
  State state = m_state.load();
  for (;;) {
    if ((state & kWaiterBit) == 0) {
      State next = state;
      if (!step(next)) return false;
      if (m_state.compare_exchange_weak(state, next)) return true;
      continue;
    }
    CRkWakeList wakes;
    CRkScopedLock lock(m_lock);
    state = m_state.load();
    // When the queue has emptied meanwhile, the lock protects nothing: the object may be deleted as soon as
    // the change is visible.
    if ((state & kWaiterBit) != 0) return ChangeLocked(state, step, wakes);
  }
}

template <class Step>
bool CRkWaitable::ChangeLocked(State state, Step step, CRkWakeList& wakes) {
  State next = state;
  if (!step(next)) return false;
  m_state.store(next);
  if (next / kReleaseStep != state / kReleaseStep) NotifyWaiters(next, wakes);
  return true;
}

bool CRkWaitable::Release(std::uint32_t units, std::uint32_t* previous) {
  return Change([this, units, previous](State& state) {
    const auto count = static_cast<std::uint32_t>(state & kCountMask);
    if (units > m_maximum - count) return false;
    *previous = count;
    state += kReleaseStep + units;
    return true;
  });
}

void CRkWaitable::Set() {
  // Also when it is set already: the waiter that takes this unit must see all earlier writes.
  Change([this](State& state) {
    state = ((state & ~kCountMask) + kReleaseStep) | m_maximum;
    return true;
  });
}

void CRkWaitable::Reset() {
  Change([](State& state) {
    state &= ~kCountMask;
    return true;
  });
}

bool CRkWaitable::TakeIfStill(State seen) {
  if (m_kind == EKind::ManualResetEvent) return true;
  return Change([this, seen](State& state) {
    if (state != seen) return false;
    state = Taken(state);
    return true;
  });
}

void CRkWaitable::Join(CRkWaitLink& link, CRkWaiter& waiter) {
  CRkScopedLock lock(m_lock);
  link = {&waiter, m_last, nullptr};
  (m_last != nullptr ? m_last->next : m_first) = &link;
  m_last = &link;
  m_state.fetch_or(kWaiterBit);
}

void CRkWaitable::Leave(CRkWaitLink& link) {
  CRkWakeList wakes;
  CRkScopedLock lock(m_lock);
  LeaveLocked(link, wakes);
}

void CRkWaitable::TakeLocked() {
  m_state.store(Taken(m_state.load()));
}

void CRkWaitable::LeaveLocked(CRkWaitLink& link, CRkWakeList& wakes) {
  (link.previous != nullptr ? link.previous->next : m_first) = link.next;
  (link.next != nullptr ? link.next->previous : m_last) = link.previous;
  if (m_first == nullptr) {
    m_state.fetch_and(~kWaiterBit);
  } else {
    NotifyWaiters(m_state.load(), wakes);
  }
}

void CRkWaitable::NotifyWaiters(State state, CRkWakeList& wakes) {
  State units = state & kCountMask;
  for (CRkWaitLink* link = m_first; link != nullptr && units > 0; link = link->next) {
    link->waiter->Notify(wakes);
    // A wait for all may have to leave its unit to the next in the queue.
    if (!link->waiter->WaitsForAll() && m_kind != EKind::ManualResetEvent) --units;
  }
}
