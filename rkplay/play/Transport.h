#pragma once

#include "base/CRkRef.h"
#include "output_channel/IRkClipOutputChannel.h"

namespace rkplay {

// Moves the list on air at the viewer's wish: holds it on single frames, lets it go on from another. The
// player's thread alone uses it.
class Transport {
 public:
  explicit Transport(IRkClipOutputChannel& channel) : m_channel(channel) {}

  // A list goes on air, and plays. frameCount: of one pass.
  void ListBegins(UINT frameCount);

  bool IsPaused() const { return m_isPaused; }
  // Holds the list, if it is not held already, and reads the frame at a position below its length. False
  // when that cannot be read.
  bool HoldOn(UINT position, CRkRef<IRkAVPlaySample>& sample);
  // The list plays, and the next sample is the one at the position. False when it cannot be reached.
  bool GoOnFrom(UINT position);

 private:
  void _BeginSeek();
  bool _Read(UINT position, CRkRef<IRkAVPlaySample>& sample);

  IRkClipOutputChannel& m_channel;
  UINT m_frameCount = 0;
  bool m_isPaused = false;
};

}  // namespace rkplay
