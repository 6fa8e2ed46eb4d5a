#pragma once

#include <atomic>
#include <cstdint>

#include "base/CRkCriticalSection.h"
#include "platform/linux/CRkWaiter.h"

// A waiter's place in the queue of one object. Lives on the waiter's stack.
struct RK_HIDDEN CRkWaitLink {
  CRkWaiter* waiter;
  CRkWaitLink* previous;
  CRkWaitLink* next;
};

// An event or a semaphore: a count of units that waits consume. Any thread enters.
//
// The state is one atomic word. While no thread waits, every change is a single exchange of that word and
// touches nothing afterwards. A waiter joins the queue, which sets the word's waiter bit; from then on every
// change, and every departure from the queue, is made under m_lock. Hence:
//  - a wait for several objects is atomic: it joins them all, then holds all their locks, in the order
//    of their addresses, while it looks and takes. Nothing else holds two of these locks;
//  - the object may be deleted as soon as its waiters have returned: the call that woke a waiter has
//    left m_lock before the waiter could leave the queue.
// A change notifies as many waiters as there are units; a waiter that leaves units and waiters behind
// notifies the next. A notified waiter looks again, so a unit may also go to a thread that never slept.
class RK_HIDDEN CRkWaitable {
 public:
  // Doubles as the mark that identifies a handle.
  enum class EKind : std::uint32_t {
    ManualResetEvent = 0x4D564B52,
    AutoResetEvent = 0x41564B52,
    Semaphore = 0x53454B52
  };
  // The state word at one look. Every release changes it, so an unchanged word was not signalled in
  // between.
  using State = std::uint64_t;

  CRkWaitable(EKind kind, std::uint32_t count, std::uint32_t maximum)
      : m_kind(kind), m_maximum(maximum), m_state(count) {}
  CRkWaitable(const CRkWaitable&) = delete;
  CRkWaitable& operator=(const CRkWaitable&) = delete;

  // Null for what is not a handle of an event or semaphore.
  static CRkWaitable* FromHandle(HANDLE handle) {
    const auto address = reinterpret_cast<std::uintptr_t>(handle);
    if (address == 0 || address % alignof(CRkWaitable) != 0) return nullptr;
    auto* object = static_cast<CRkWaitable*>(handle);
    return object->IsEvent() || object->IsSemaphore() ? object : nullptr;
  }
  bool IsEvent() const { return m_kind == EKind::ManualResetEvent || m_kind == EKind::AutoResetEvent; }
  bool IsSemaphore() const { return m_kind == EKind::Semaphore; }

  // Adds units to a semaphore. False, and no change, when they would pass the maximum.
  bool Release(std::uint32_t units, std::uint32_t* previous);
  // Makes an event's only unit available, whether or not it already is.
  void Set();
  void Reset();

  State Look() const { return m_state.load(); }
  static bool IsSignalled(State state) { return (state & kCountMask) != 0; }
  // Takes a unit of the object that a look found signalled; false when it has changed since.
  bool TakeIfStill(State seen);

  // The queue. Who joined leaves, by Leave or LeaveLocked, before its wait returns.
  void Join(CRkWaitLink& link, CRkWaiter& waiter) RK_EXCLUDES(m_lock);
  void Leave(CRkWaitLink& link) RK_EXCLUDES(m_lock);
  // For a wait that holds the locks of all its objects.
  void EnterLock() RK_ACQUIRE(m_lock) { m_lock.Enter(); }
  void LeaveLock() RK_RELEASE(m_lock) { m_lock.Leave(); }
  void TakeLocked() RK_REQUIRES(m_lock);
  void LeaveLocked(CRkWaitLink& link, CRkWakeList& wakes) RK_REQUIRES(m_lock);

 private:
  static constexpr State kCountMask = 0xFFFFFFFF;
  static constexpr State kWaiterBit = State{1} << 32;
  static constexpr State kReleaseStep = State{1} << 33;

  // Steps the state, wherever that may be done now; tells waiters about new units. `step` alters the
  // state it is given, or leaves it and returns false.
  template <class Step>
  bool Change(Step step) RK_EXCLUDES(m_lock) {
    State state = m_state.load();
    if ((state & kWaiterBit) != 0) return ChangeBesideOthers(step);
    State next = state;
    if (!step(next)) return false;
    return m_state.compare_exchange_strong(state, next) || ChangeBesideOthers(step);
  }
  template <class Step>
  [[gnu::noinline]] bool ChangeBesideOthers(Step step) RK_EXCLUDES(m_lock);
  template <class Step>
  bool ChangeLocked(State state, Step step, CRkWakeList& wakes) RK_REQUIRES(m_lock);
  State Taken(State state) const { return m_kind == EKind::ManualResetEvent ? state : state - 1; }
  void NotifyWaiters(State state, CRkWakeList& wakes) RK_REQUIRES(m_lock);

  const EKind m_kind;
  const std::uint32_t m_maximum;
  std::atomic<State> m_state;
  // A leaf: nothing is called under it.
  CRkCriticalSection m_lock;
  CRkWaitLink* m_first RK_GUARDED_BY(m_lock) = nullptr;
  CRkWaitLink* m_last RK_GUARDED_BY(m_lock) = nullptr;
};
