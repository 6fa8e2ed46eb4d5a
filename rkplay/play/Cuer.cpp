#include "rkplay/play/Cuer.h"

#include <array>
#include <utility>

namespace rkplay {

void Cuer::Start(IRkClipOutputChannel* channel) {
  m_channel = channel;
  m_thread = std::thread([this] { _CueWhenFree(); });
  SetEvent(m_free);
}

void Cuer::Stop() {
  SetEvent(m_stop);
  if (m_thread.joinable()) m_thread.join();
  CRkScopedLock lock(m_lock);
  m_cued = kNone;
}

bool Cuer::IsReady() const {
  CRkScopedLock lock(m_lock);
  return _IsReady();
}

bool Cuer::HasNext() const {
  CRkScopedLock lock(m_lock);
  return m_cued != kNone || m_next < m_lists.size();
}

size_t Cuer::OnAir() const {
  CRkScopedLock lock(m_lock);
  return m_onAir;
}

std::vector<size_t> Cuer::Refused() const {
  CRkScopedLock lock(m_lock);
  return m_refused;
}

// A cued list leaves the Waiting channel only by going on air. Heard without one, the channel was stopped
// or refused a list, which the thread sees for itself.
void Cuer::OnWaitingChannelFree(BOOL free) {
  if (free == FALSE) return;
  CRkScopedLock lock(m_lock);
  if (m_cued == kNone) return;
  m_onAir = std::exchange(m_cued, kNone);
  SetEvent(m_free);
}

BOOL Cuer::IsAutoSwitch() {
  CRkScopedLock lock(m_lock);
  return _IsReady() && (!m_manual || m_cued == kNone) ? TRUE : FALSE;
}

void Cuer::_CueWhenFree() {
  const std::array<HANDLE, 2> events = {m_stop, m_free};
  size_t next = 0;
  while (next < m_lists.size() &&
         WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
    const ClipList& list = m_lists[next];
    const bool cued =
        m_channel->InsertClipElement(list.elements.Get(), list.repeatCount, list.startFrame) != FALSE;
    {
      CRkScopedLock lock(m_lock);
      if (cued) m_cued = next;
      if (!cued) m_refused.push_back(next);
      m_next = ++next;
    }
    if (!cued) SetEvent(m_free);
    SetEvent(m_changed);
  }
}

}  // namespace rkplay
