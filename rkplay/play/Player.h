#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/CRkRef.h"
#include "output_channel/IRkClipOutputChannel.h"
#include "rkplay/clips/ClipLoader.h"
#include "rkplay/files/FrameOutput.h"
#include "rkplay/monitor/Keys.h"
#include "rkplay/monitor/Monitor.h"
#include "rkplay/monitor/TerminalKeys.h"
#include "rkplay/play/Cuer.h"
#include "rkplay/play/ListOnAir.h"
#include "rkplay/play/Pacer.h"
#include "rkplay/play/Progress.h"
#include "rkplay/play/Statistics.h"
#include "rkplay/play/Transport.h"
#include "rkplay/system/StopSignals.h"

namespace rkplay {

// Plays a programme: takes every sample from the output channel, hands it on, and lets the channel switch,
// until the last list has ended or a stop is asked for.
//
// Run is one thread; the cuer brings one more, which ends before Run returns. The player owns the channel
// and frees the elements of each list when it has gone off the air.
class Player {
 public:
  struct Settings {
    bool manual;    // a list waits at its end for a key
    bool realtime;  // frames are paced by the frame rate
  };
  struct Surroundings {
    FrameOutput& output;
    StopSignals& stopSignals;
    KeyQueue& keys;
    TerminalKeys* terminal;  // null: no keys come from the standard input
    Monitor* monitor;        // null: nobody watches, otherwise it paces
  };

  // Throws UsageError when the channel cannot be created.
  Player(Programme& programme, const Settings& settings, const Surroundings& surroundings);

  Statistics Run();

 private:
  using Clock = std::chrono::steady_clock;

  // False when the programme is over; so for every bool below.
  bool _StartFirstList();
  bool _Advance();
  bool _DeliverNext();
  bool _HandOn(IRkAVPlaySample& sample);
  bool _SwitchAtEnd();
  bool _SwitchNow(ListOutcome cut);
  bool _WaitForCue();
  bool _ObeyKeys();
  bool _TakeNext();
  bool _ServeTakesWhenDue();

  void _Play();
  void _BeginList(Clock::time_point since);
  void _EndList(ListOutcome cut);
  void _ToggleRepeat();
  void _Hold(const KeyWish& wish);
  void _GoOnFrom(UINT position);
  void _RestMonitor();
  void _AwaitTake();
  void _TellProgress();
  void _StopChannel();
  std::string _Caption(const char* state) const;

  Programme& m_programme;
  const Settings m_settings;
  const Surroundings m_around;
  CRkRef<Cuer> m_cuer;
  CRkRef<IRkClipOutputChannel> m_channel;
  Transport m_transport;
  Pacer m_pacer;
  Progress m_progress;
  Statistics m_statistics;
  std::optional<ListOnAir> m_onAir;
  ULONGLONG m_programmeFrames = 0;
  Clock::time_point m_lastSample;
  UINT m_takesWhenDue = 0;          // asked for, not yet made
  bool m_wasRepeatChanged = false;  // on the channel, whose next list takes over the count
};

}  // namespace rkplay
