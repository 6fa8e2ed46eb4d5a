#pragma once

#include <atomic>
#include <thread>

#include "output_channel/IRkClipOutputChannel.h"
#include "platform/CRkHandle.h"

namespace rkplay {

// Turns lines on the standard input into switch requests, on a thread of its own: SwitchPlay waits for
// the player's next SwitchChannel. The player grants one take at a time and a line is read only for a
// granted one, so lines typed ahead wait for the end of the list after.
class Taker {
 public:
  explicit Taker(IRkClipOutputChannel* channel);
  // After RequestStop, and after SwitchChannel was called until IsOver.
  ~Taker() { m_thread.join(); }
  Taker(const Taker&) = delete;
  Taker& operator=(const Taker&) = delete;

  // The next line takes what is cued now.
  void Grant() { SetEvent(m_granted); }
  void RequestStop() { SetEvent(m_stop); }
  bool IsOver() const { return m_over; }
  // The input has ended: no take can come any more.
  bool InputEnded() const { return m_inputEnded; }

 private:
  void _ServeGrants();
  bool _WaitForInput() const;
  // False when there is no line, because of a stop or the input's end.
  bool _ReadLine();

  IRkClipOutputChannel* const m_channel;
  const CRkHandle m_stop = CRkHandle::ManualResetEvent();
  const CRkHandle m_granted = CRkHandle::AutoResetEvent();
  std::atomic<bool> m_over = false;
  std::atomic<bool> m_inputEnded = false;
  std::thread m_thread;
};

}  // namespace rkplay
