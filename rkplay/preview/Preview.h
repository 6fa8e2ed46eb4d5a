#pragma once

#include <string>
#include <vector>

#include "base/CRkRef.h"
#include "rkplay/cli/Values.h"
#include "rkplay/clips/ClipLoader.h"
#include "rkplay/monitor/Keys.h"
#include "rkplay/monitor/Monitor.h"
#include "rkplay/play/Progress.h"
#include "rkplay/system/StopSignals.h"
#include "source_player/IRkClipSourcePlayer.h"

namespace rkplay {

struct PreviewOptions {
  std::vector<FrameRange> ranges;  // ascending, none empty; the whole clip when there is none
  UINT startFrame = 0;
  bool loops = false;
};

struct PreviewResult {
  struct RangeResult {
    FrameRange range;
    ULONGLONG deliveredFrames;
  };
  std::vector<RangeResult> ranges;
  Presentation seen;
  std::vector<std::string> errors;  // one line each
  int stopSignal = 0;

  int ExitCode() const;
};

// Plays one clip through the clip source player into the monitor, which holds the player's thread to
// playing speed.
//
// Run is one thread, which obeys the keys; the player delivers on a thread of its own. Between two runs of
// the player single frames are shown on the thread of Run.
class Preview {
 public:
  // `programme` has one list of one clip. Throws UsageError when the clip cannot be opened.
  Preview(Programme& programme, const PreviewOptions& options, KeyQueue& keys, StopSignals& stopSignals,
          Monitor& monitor);
  ~Preview();
  Preview(const Preview&) = delete;
  Preview& operator=(const Preview&) = delete;

  PreviewResult Run();

 private:
  class Sink;

  void _SetRanges();
  bool _ObeyKeys();  // false: it is over
  void _Hold(UINT position);
  void _PlayFrom(UINT position);
  void _StopPlaying();
  bool _GoOn(UINT position, bool moves);
  void _TellProgress(ULONGLONG& told);
  void _Judge(PreviewResult& result, bool isWhole) const;
  const ClipList& _Clip() const { return m_programme.lists.front(); }

  Programme& m_programme;
  const PreviewOptions m_options;
  KeyQueue& m_keys;
  StopSignals& m_stopSignals;
  Monitor& m_monitor;
  Progress m_progress;
  CRkRef<Sink> m_sink;
  CRkRef<IRkClipSourcePlayer> m_player;
  bool m_loops;
  bool m_isOver = false;  // went on behind the last frame
  bool m_isHeld = false;
  bool m_hasMoved = false;  // since it is held
  bool m_wasMoved = false;  // by keys, so that the number of frames says nothing any longer
};

}  // namespace rkplay
