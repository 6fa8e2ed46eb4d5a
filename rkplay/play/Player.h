#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/CRkRef.h"
#include "output_channel/IRkClipOutputChannel.h"
#include "rkplay/cli/Options.h"
#include "rkplay/cli/StopSignals.h"
#include "rkplay/clips/ClipLoader.h"
#include "rkplay/files/FrameOutput.h"
#include "rkplay/monitor/Keys.h"
#include "rkplay/monitor/Monitor.h"
#include "rkplay/monitor/TerminalKeys.h"
#include "rkplay/play/Cuer.h"
#include "rkplay/play/Pacer.h"
#include "rkplay/play/Progress.h"
#include "rkplay/play/Statistics.h"
#include "rkplay/play/Transport.h"

namespace rkplay {

// Plays a programme: takes every sample from the output channel, hands it on, and lets the channel switch,
// until the last list has ended or a stop is asked for.
//
// Run is one thread; the cuer brings one more, which ends before Run returns. The player owns the channel
// and frees the elements of each list when it has gone off the air.
class Player {
 public:
  struct Surroundings {
    FrameOutput& output;
    StopSignals& stopSignals;
    KeyQueue& keys;
    TerminalKeys* terminal;  // null: no keys come from the standard input
    Monitor* monitor;        // null: nobody watches
  };

  // Throws UsageError when the channel cannot be created.
  Player(Programme& programme, const Options& options, const Surroundings& surroundings);

  Statistics Run();

 private:
  using Clock = std::chrono::steady_clock;

  // What the keys that wait together come to.
  struct Wish {
    UINT position;
    bool moves;
    bool paused;
    bool takes;
    bool quits;
  };

  void _Play();
  bool _StartFirstList();
  // These are false when the programme is over.
  bool _Advance();
  bool _DeliverNext();
  bool _HandOn(IRkAVPlaySample& sample);
  bool _SwitchAtEnd();
  bool _SwitchNow(ListOutcome cut);
  bool _ObeyKeys();
  bool _TakeNext();
  bool _ServeTakesWhenDue();
  bool _WaitForCue();

  Wish _ReadKeys();
  void _Move(Wish& wish, Key key) const;
  void _ToggleRepeat();
  void _Hold(const Wish& wish);
  void _GoOnFrom(UINT position);
  bool _IsDue(IRkAVPlaySample& sample);
  UINT _DuePosition() const;
  bool _DueFileIsLost();
  void _BeginList(Clock::time_point since);
  void _EndList(ListOutcome cut);
  std::string _Caption(const char* state) const;
  void _NoteWhatWasSeen();
  void _RestMonitor();
  void _StopChannel();
  void _Fail(size_t list, const std::string& reason);
  void _Report(size_t list, const std::string& reason);
  ClipList& _List() { return m_programme.lists[m_onAir]; }
  const ClipList& _List() const { return m_programme.lists[m_onAir]; }

  Programme& m_programme;
  const bool m_isManual;
  const bool m_realtime;
  FrameOutput& m_output;
  StopSignals& m_stopSignals;
  KeyQueue& m_keys;
  TerminalKeys* const m_terminal;
  Monitor* const m_monitor;
  CRkRef<Cuer> m_cuer;
  CRkRef<IRkClipOutputChannel> m_channel;
  Transport m_transport;
  Pacer m_pacer;
  Progress m_progress;
  Statistics m_statistics;
  UINT m_takesWhenDue = 0;          // asked for, not yet made
  bool m_wasRepeatChanged = false;  // of a list before, and so of the one that was cued

  // Of the list on air.
  size_t m_onAir = Cuer::kNone;
  std::vector<PlayedStretch> m_played;
  UINT m_position = 0;                               // of the frame on screen
  bool m_ended = false;                              // no sample may be taken before the switch
  bool m_wasMoved = false;                           // by keys, so that its length says nothing any more
  bool m_hasHeldMoved = false;                       // since it is held
  bool m_repeats = false;                            // without end
  std::optional<ClipList::ReadErrorCount> m_unread;  // once it has been delivered whole
  Clock::time_point m_lastSample;
  Clock::time_point m_endedSince;
  Clock::time_point m_listSince;  // when its first sample began to be waited for
};

}  // namespace rkplay
