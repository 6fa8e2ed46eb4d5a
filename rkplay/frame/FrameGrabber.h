#pragma once

#include <string>

#include "base/CRkRef.h"
#include "rkplay/clips/ClipLoader.h"
#include "rkplay/files/PngWriter.h"
#include "source_player/IRkClipSourcePlayer.h"

namespace rkplay {

// Writes exactly those frames of one clip that it is asked for, through the clip source player. One thread
// at a time: the player shows single frames on the thread that seeks.
class FrameGrabber {
 public:
  // `programme` has one list of one clip. Throws UsageError when the clip has no pictures or cannot be
  // opened.
  explicit FrameGrabber(const Programme& programme);
  ~FrameGrabber();
  FrameGrabber(const FrameGrabber&) = delete;
  FrameGrabber& operator=(const FrameGrabber&) = delete;

  // False, with one line that names what failed, when the file was not written. A picture that is damaged
  // or missing is written with `force` only, as it goes on air: then true, and the line says what it is.
  bool Grab(UINT position, const std::string& path, bool force, std::string& error);

 private:
  class Sink;

  const ClipList& m_clip;
  PngWriter m_writer;
  CRkRef<Sink> m_sink;
  CRkRef<IRkClipSourcePlayer> m_player;
};

}  // namespace rkplay
