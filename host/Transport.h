#pragma once

#include "contracts/CRkRef.h"
#include "host/ClipList.h"
#include "host/Monitor.h"
#include "output_channel/IRkClipOutputChannel.h"

namespace rkplay {

// Moves the list on air at the viewer's wish: holds it on single frames, lets it go on from another. The
// player's thread alone uses it.
class Transport {
 public:
  // monitor: where single frames appear; may be null.
  Transport(IRkClipOutputChannel& channel, Monitor* monitor) : m_channel(channel), m_monitor(monitor) {}

  // A list goes on air, and plays.
  void ListBegins(const ClipList& list);

  bool IsPaused() const { return m_isPaused; }
  // Holds the list, if it is not held already, on the frame at a position below its length. False when
  // that frame cannot be read.
  bool HoldOn(UINT position);
  // The list plays, and the next sample is the one at the position. False when it cannot be reached.
  bool GoOnFrom(UINT position);

 private:
  void _Hold();
  bool _Read(UINT position, CRkRef<IRkAVPlaySample>& sample);

  IRkClipOutputChannel& m_channel;
  Monitor* const m_monitor;
  UINT m_frameCount = 0;
  bool m_isPaused = false;
};

}  // namespace rkplay
