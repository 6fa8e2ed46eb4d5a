#include "rkplay/preview/Preview.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "base/CRkUnknown.h"
#include "module/RkClipPlay.h"
#include "rkplay/cli/FrameRate.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/clips/FrameFault.h"
#include "rkplay/clips/PlayBufferPool.h"

namespace rkplay {
namespace {

constexpr DWORD kKeyPollMs = 50;
// Picture memory kept for reuse; what the player and the device hold is out anyway.
constexpr size_t kSpareMemory = size_t{32} << 20;

}  // namespace

int PreviewResult::ExitCode() const {
  if (!errors.empty()) return 1;
  return stopSignal == 0 ? 0 : 128 + stopSignal;
}

// Hands frames to the monitor: in a run of the player on its worker, where Put holds it to playing speed,
// else on the thread of Run. The lock guards the counts.
class Preview::Sink final : public CRkUnknown<IRkClipOutputCallback> {
 public:
  Sink(Monitor& monitor, const ClipList& clip, int frameRate, const std::vector<FrameRange>& ranges)
      : m_monitor(monitor), m_clip(clip), m_frameRate(frameRate) {
    for (const FrameRange& range : ranges) m_ranges.push_back({range, 0});
  }

  void BeginRun() { m_state = State::Plays; }
  void EndRun() { m_state = State::Stands; }
  bool RunEnded() const { return m_state == State::Ended; }

  void OnPlayStart() override {}
  void OnPlaySample(IRkAVPlaySample* sample) override {
    const UINT position = sample->GetPosition();
    if (m_state != State::Plays) return m_monitor.ShowStill(*sample, _Caption(position, "paused"));
    const auto fault = FrameFault::Of(*sample);
    m_monitor.Put(*sample, {0, position}, _Caption(position, "playing"));
    CRkScopedLock lock(m_lock);
    for (auto& [range, delivered] : m_ranges) {
      if (position >= range.in && position < range.out) ++delivered;
    }
    if (!fault) return;
    if (m_unread++ == 0) m_firstReason = fault->reason;
  }
  void OnPlayEnd() override {
    State playing = State::Plays;
    m_state.compare_exchange_strong(playing, State::Ended);
  }

  std::vector<PreviewResult::RangeResult> Ranges() const {
    CRkScopedLock lock(m_lock);
    return m_ranges;
  }
  // One line; empty when every frame was the one that belongs there.
  std::string Unread() const {
    CRkScopedLock lock(m_lock);
    if (m_unread == 0) return "";
    return m_clip.title + ": " + m_firstReason + " (" + std::to_string(m_unread) +
           " frames went out as the last good picture or black)";
  }

 private:
  enum class State { Stands, Plays, Ended };

  std::string _Caption(UINT position, const char* state) const {
    return m_clip.title + "  " + Timecode(m_frameRate, position) + "  " + state;
  }

  Monitor& m_monitor;
  const ClipList& m_clip;
  const int m_frameRate;
  std::atomic<State> m_state = State::Stands;
  mutable CRkCriticalSection m_lock;
  std::vector<PreviewResult::RangeResult> m_ranges RK_GUARDED_BY(m_lock);
  ULONGLONG m_unread RK_GUARDED_BY(m_lock) = 0;
  std::string m_firstReason RK_GUARDED_BY(m_lock);
};

Preview::Preview(Programme& programme, const PreviewOptions& options, KeyQueue& keys,
                 StopSignals& stopSignals, Monitor& monitor)
    : m_programme(programme),
      m_options(options),
      m_keys(keys),
      m_stopSignals(stopSignals),
      m_monitor(monitor),
      m_progress(programme.format.video.frameRate, programme.lists),
      m_loops(options.loops) {
  const std::vector<FrameRange> whole = {{0, _Clip().frameCount}};
  m_sink = CRkRef<Sink>::Adopt(new Sink(monitor, _Clip(), programme.format.video.frameRate,
                                        options.ranges.empty() ? whole : options.ranges));
  const auto pool = CRkRef<PlayBufferPool>::Adopt(new PlayBufferPool(kSpareMemory));
  CRkRef<IRkClipElement> clip;
  _Clip().elements->GetFirstElement(clip.Out());
  if (!RkCreateClipSourcePlayer(programme.format.video, programme.format.audio, pool.Get(), m_sink.Get(),
                                m_player.Out()) ||
      !m_player->Open(clip.Get())) {
    throw UsageError(_Clip().title + ": cannot be opened");
  }
  _SetRanges();
}

Preview::~Preview() = default;

void Preview::_SetRanges() {
  if (m_options.ranges.empty()) return;
  IRkClipTrimInfo::Ranges ranges;
  for (const FrameRange& range : m_options.ranges) ranges.push_back({range.in, range.out});
  CRkRef<IRkClipTrimInfo> info;
  if (!RkCreateClipTrimInfo(ranges, info.Out()) || !m_player->SetTrimInfo(info.Get())) {
    throw UsageError("out of memory");
  }
}

PreviewResult Preview::Run() {
  PreviewResult result;
  m_progress.ListBegins(0);
  _PlayFrom(m_options.startFrame);
  ULONGLONG told = 0;
  while (m_stopSignals.Asked() == 0 && !m_sink->RunEnded() && _ObeyKeys()) {
    m_keys.Wait(kKeyPollMs);
    _TellProgress(told);
  }
  const bool endedByItself = m_sink->RunEnded() || m_isOver;
  m_player->Stop();
  m_monitor.Close(result.errors);
  m_progress.End();
  result.ranges = m_sink->Ranges();
  result.seen = m_monitor.Seen();
  result.stopSignal = m_stopSignals.Asked();
  _Judge(result, endedByItself && !m_wasMoved && !m_options.loops);
  return result;
}

void Preview::_TellProgress(ULONGLONG& told) {
  if (m_isHeld) return;
  ULONGLONG delivered = 0;
  for (const auto& range : m_sink->Ranges()) delivered += range.deliveredFrames;
  UINT position = m_player->GetPosition();
  if (m_progress.IsDue()) {
    m_progress.Note(ShortNote(m_monitor.Seen()));
    if (const auto shown = m_monitor.Shown()) position = shown->position;
  }
  for (const std::string& news : m_monitor.News()) m_progress.Say(news);
  m_progress.FramesDelivered(delivered - told, 0, position);
  told = delivered;
}

// isWhole: every frame from the start on should have been delivered, once.
void Preview::_Judge(PreviewResult& result, bool isWhole) const {
  if (const std::string unread = m_sink->Unread(); !unread.empty()) result.errors.push_back(unread);
  if (!isWhole) return;
  const bool startsBehind = m_options.startFrame >= result.ranges.back().range.out;
  for (const auto& [range, delivered] : result.ranges) {
    const ULONGLONG in =
        startsBehind ? range.in : std::clamp<ULONGLONG>(m_options.startFrame, range.in, range.out);
    if (delivered == range.out - in) continue;
    result.errors.push_back(_Clip().title + ": of range " + std::to_string(range.in) + "-" +
                            std::to_string(range.out) + " only " + std::to_string(delivered) + " of " +
                            std::to_string(range.out - in) + " frames could be read");
  }
}

bool Preview::_ObeyKeys() {
  const KeyWish wish = TakeWish(m_keys, m_player->GetPosition(), m_isHeld, _Clip().frameCount,
                                m_programme.format.video.frameRate);
  if (wish.wantsHelp) m_progress.Say(kPreviewKeysHelp);
  if (wish.quits) return false;
  m_wasMoved = m_wasMoved || wish.moves || wish.togglesRepeat;
  if (wish.togglesRepeat) {
    m_loops = !m_loops;
    m_progress.Say(m_loops ? "repeats" : "plays to its end");
  }
  if (wish.isPaused && (wish.moves || !m_isHeld)) {
    m_hasMoved = wish.moves || (m_isHeld && m_hasMoved);
    _Hold(wish.position);
  } else if (!wish.isPaused && (wish.moves || m_isHeld || wish.togglesRepeat)) {
    return _GoOn(wish.position, wish.moves || m_hasMoved);
  }
  return true;
}

// From the frame on screen, which has been played unless it was moved to. False behind the last one, from
// where only a loop goes on.
bool Preview::_GoOn(UINT position, bool moves) {
  _StopPlaying();
  const UINT next = moves ? position : m_player->GetPosition() + 1;
  const ULONGLONG end = m_options.ranges.empty() ? _Clip().frameCount : m_options.ranges.back().out;
  m_isOver = next >= end && !m_loops && !moves;
  if (m_isOver) return false;
  _PlayFrom(next >= end ? 0 : next);
  return true;
}

void Preview::_StopPlaying() {
  m_player->Stop();
  m_sink->EndRun();
}

void Preview::_Hold(UINT position) {
  _StopPlaying();
  m_monitor.Pause();
  m_isHeld = true;
  if (m_player->Seek(position)) return m_progress.Paused(0, position);
  m_progress.Say("frame " + std::to_string(position) + " cannot be shown");
}

void Preview::_PlayFrom(UINT position) {
  _StopPlaying();
  m_isHeld = false;
  m_hasMoved = false;
  m_sink->BeginRun();
  m_player->PlayTrimmed(position, m_loops);
}

}  // namespace rkplay
