#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "contracts/CRkRef.h"
#include "host/ClipLoader.h"
#include "host/Cuer.h"
#include "host/FrameOutput.h"
#include "host/Options.h"
#include "host/Pacer.h"
#include "host/Progress.h"
#include "host/Statistics.h"
#include "host/StopSignals.h"
#include "host/Taker.h"
#include "output_channel/IRkClipOutputChannel.h"

namespace rkplay {

// Plays a programme: takes every sample from the output channel, writes it, and lets the channel switch,
// until the last list has ended or a stop is asked for.
//
// Run is one thread; the cuer and the taker bring one more each, which end before Run returns. The player
// owns the channel and frees the elements of each list when it has gone off the air.
class Player {
 public:
  // Throws UsageError when the channel cannot be created.
  Player(Programme& programme, const Options& options, FrameOutput& output, StopSignals& stopSignals);

  Statistics Run();

 private:
  using Clock = std::chrono::steady_clock;

  void _Play();
  bool _StartFirstList();
  // These are false when the programme is over.
  bool _DeliverNext();
  bool _LeaveList();
  bool _Switch();
  bool _OfferTake();
  bool _WaitForCue();
  bool _IsDue(IRkAVPlaySample& sample);
  bool _DueFileIsLost();
  void _BeginList(Clock::time_point since);
  void _EndList(ListOutcome cut);
  void _StopTaker();
  void _StopChannel();
  void _Fail(size_t list, const std::string& reason);
  void _Report(size_t list, const std::string& reason);

  Programme& m_programme;
  const bool m_realtime;
  FrameOutput& m_output;
  StopSignals& m_stopSignals;
  CRkRef<Cuer> m_cuer;
  CRkRef<IRkClipOutputChannel> m_channel;
  std::optional<Taker> m_taker;  // manual only
  Pacer m_pacer;
  Progress m_progress;
  Statistics m_statistics;

  size_t m_onAir = Cuer::kNone;
  bool m_ended = false;               // the list on air has; no sample may be taken before the switch
  bool m_takeGranted = false;         // for the end of the list on air
  ClipList::ReadErrorCount m_unread;  // once the list on air has been delivered whole
  Clock::time_point m_lastSample;
  Clock::time_point m_endedSince;
  Clock::time_point m_listSince;  // when its first sample began to be waited for
};

}  // namespace rkplay
