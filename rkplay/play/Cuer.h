#pragma once

#include <cstddef>
#include <thread>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "base/CRkHandle.h"
#include "base/CRkUnknown.h"
#include "contracts/RkHost.h"
#include "output_channel/IRkClipOutputChannel.h"
#include "rkplay/clips/ClipList.h"

namespace rkplay {

// Keeps one list cued behind the one that plays: hears from the output channel that the Waiting channel
// is free and loads the next list on a thread of its own, so that delivery never waits for a load.
//
//   free --thread loads--> cued --the channel switches--> on air, and free again
//
// Threads: the channel calls the sink on the player's threads; the player calls the rest on its own. The
// lock guards the fields below it and is never held while the channel is called. The lists and the
// channel belong to the player: Stop before they go.
class Cuer final : public CRkUnknown<IRkClipOutputChannelNotify> {
 public:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  // `manual`: a switch from one list to the next waits for a request.
  Cuer(const std::vector<ClipList>& lists, bool manual) : m_lists(lists), m_manual(manual) {}

  void Start(IRkClipOutputChannel* channel);
  // No list is cued any more; waits for a load in progress.
  void Stop();

  // Whether the channel may switch: the next list is cued, or there is none left.
  bool IsReady() const;
  // Whether a list is cued, or still to be.
  bool HasNext() const;
  // The list that went on air last; kNone before the first.
  size_t OnAir() const;
  // Until the state may have changed, at most timeoutMs.
  void WaitForChange(DWORD timeoutMs) const { RkWait(m_changed, timeoutMs); }
  // Lists that the channel did not take.
  std::vector<size_t> Refused() const;

  void OnWaitingChannelFree(BOOL free) override;
  void OnPlayEnd(BOOL ended) override { (void)ended; }
  BOOL IsAutoSwitch() override;

 private:
  ~Cuer() override = default;

  void _CueWhenFree();
  bool _IsReady() const RK_REQUIRES(m_lock) { return m_cued != kNone || m_next == m_lists.size(); }

  const std::vector<ClipList>& m_lists;
  const bool m_manual;
  IRkClipOutputChannel* m_channel = nullptr;
  const CRkHandle m_stop = CRkHandle::ManualResetEvent();
  const CRkHandle m_free = CRkHandle::AutoResetEvent();
  const CRkHandle m_changed = CRkHandle::AutoResetEvent();
  std::thread m_thread;

  mutable CRkCriticalSection m_lock;
  size_t m_next RK_GUARDED_BY(m_lock) = 0;  // to be cued, or being loaded
  size_t m_cued RK_GUARDED_BY(m_lock) = kNone;
  size_t m_onAir RK_GUARDED_BY(m_lock) = kNone;
  std::vector<size_t> m_refused RK_GUARDED_BY(m_lock);
};

}  // namespace rkplay
