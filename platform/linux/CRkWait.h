#pragma once

#include <array>

#include "platform/linux/CRkWaitable.h"

// One wait of one thread on up to MAXIMUM_WAIT_OBJECTS objects, which live on at least until it ends.
// Tests first; joins the objects' queues only to sleep, and leaves them all again.
class RK_HIDDEN CRkWait {
 public:
  // `objects` outlives the wait. For a wait for all they are in the order of their addresses, each once.
  CRkWait(CRkWaitable* const* objects, DWORD count, bool waitForAll)
      : m_objects(objects), m_count(count), m_waiter(waitForAll) {}
  CRkWait(const CRkWait&) = delete;
  CRkWait& operator=(const CRkWait&) = delete;
  ~CRkWait() { LeaveQueues(); }

  // The result of the Windows wait.
  DWORD Run(DWORD timeoutMs);

 private:
  // Takes the units that satisfy the wait, if they are there; true then, with the index to return.
  bool Take(DWORD& index);
  bool TakeLowest(DWORD& index);
  bool TakeAll();
  // The first signalled of the first `count` objects, or `count`.
  DWORD FirstSignalled(DWORD count, CRkWaitable::State& state) const;
  bool AllLookSignalled() const;

  void JoinQueues();
  void LeaveQueues();

  CRkWaitable* const* const m_objects;
  const DWORD m_count;
  CRkWaiter m_waiter;
  bool m_joined = false;
  std::array<CRkWaitLink, MAXIMUM_WAIT_OBJECTS> m_links;
};
