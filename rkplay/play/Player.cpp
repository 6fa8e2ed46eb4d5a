#include "rkplay/play/Player.h"

#include <algorithm>

#include "contracts/RkPictureLayout.h"
#include "module/RkClipPlay.h"
#include "rkplay/cli/FrameRate.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/clips/PlayBufferPool.h"

namespace rkplay {
namespace {

// Short waits, so that a stop or a key never waits long.
constexpr DWORD kSampleWaitMs = 50;
constexpr DWORD kSwitchPollMs = 5;
constexpr DWORD kKeyPollMs = 50;

// Read ahead per channel: enough to ride out a slow open, within a bound on memory for large pictures.
constexpr size_t kReadAheadBytes = size_t{20} << 20;
constexpr size_t kMinimumReadAhead = 4;
constexpr size_t kMaximumReadAhead = 25;
constexpr UINT kPreRoll = 8;

double Milliseconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

size_t PictureBytes(const SRkVideoResolution& video) {
  size_t bytes = 0;
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) bytes += RkPlaneLayout(video, plane).Bytes();
  return bytes;
}

CRkRef<IRkClipOutputChannel> CreateChannel(const SRkClipFormat& format, Cuer& cuer) {
  const size_t pictureBytes = PictureBytes(format.video);
  const size_t readAhead = std::clamp(kReadAheadBytes / pictureBytes, kMinimumReadAhead, kMaximumReadAhead);
  const auto pool = CRkRef<PlayBufferPool>::Adopt(new PlayBufferPool(readAhead * pictureBytes));
  const auto capacity = static_cast<UINT>(readAhead);
  CRkRef<IRkClipOutputChannel> channel;
  if (!RkCreateClipOutputChannel(std::min(kPreRoll, capacity - 1), capacity, format.video, format.audio,
                                 pool.Get(), &cuer, channel.Out())) {
    throw UsageError("the output channel cannot be created");
  }
  return channel;
}

}  // namespace

Player::Player(Programme& programme, const Settings& settings, const Surroundings& surroundings)
    : m_programme(programme),
      m_settings{settings.manual, settings.realtime && surroundings.monitor == nullptr},
      m_around(surroundings),
      m_cuer(CRkRef<Cuer>::Adopt(new Cuer(programme.lists, settings.manual))),
      m_channel(CreateChannel(programme.format, *m_cuer.Get())),
      m_transport(*m_channel.Get()),
      m_pacer(programme.format.video.frameRate),
      m_progress(programme.format.video.frameRate, programme.lists) {
  m_statistics.format = programme.format;
  m_statistics.realtime = m_settings.realtime;
  for (const ClipList& list : programme.lists) {
    ListResult result;
    result.clip = list.title;
    result.frameRate = programme.format.video.frameRate;
    result.announcedFrames = list.AnnouncedFrames();
    m_statistics.lists.push_back(result);
  }
}

Statistics Player::Run() {
  const Clock::time_point start = Clock::now();
  _Play();
  if (m_around.terminal != nullptr) m_around.terminal->Restore();
  m_cuer->Stop();
  _StopChannel();
  if (m_around.monitor != nullptr) {
    m_around.monitor->Close(m_statistics.errors);
    m_statistics.seen = m_around.monitor->Seen();
  }
  m_progress.End();
  for (const size_t list : m_cuer->Refused()) {
    m_statistics.lists[list].outcome = ListOutcome::Failed;
    m_statistics.errors.push_back("list " + std::to_string(list + 1) + ": " + m_programme.lists[list].title +
                                  ": could not be cued");
  }
  m_around.output.Close(m_statistics.errors);
  m_statistics.stopSignal = m_around.stopSignals.Asked();
  m_statistics.lateFrames = m_pacer.LateFrames();
  m_statistics.worstLateMs = Milliseconds(m_pacer.WorstLate());
  m_statistics.wallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
  return m_statistics;
}

void Player::_Play() {
  m_cuer->Start(m_channel.Get());
  if (!_StartFirstList()) return;
  while (m_around.stopSignals.Asked() == 0) {
    if (!_ObeyKeys() || !_ServeTakesWhenDue() || !_Advance()) return;
  }
  _EndList(ListOutcome::Stopped);
}

bool Player::_StartFirstList() {
  const Clock::time_point since = Clock::now();
  if (!_WaitForCue() || !m_channel->Play()) return false;  // Play fails when the channel refused every list
  _BeginList(since);
  return true;
}

bool Player::_WaitForCue() {
  while (!m_cuer->IsReady()) {
    if (m_around.stopSignals.Asked() != 0) return false;
    m_cuer->WaitForChange(kSampleWaitMs);
  }
  return true;
}

bool Player::_Advance() {
  if (m_transport.IsPaused()) {
    m_around.keys.Wait(kKeyPollMs);
    return true;
  }
  if (!m_onAir->HasEnded()) return _DeliverNext();
  m_cuer->WaitForChange(kSwitchPollMs);
  _RestMonitor();
  return _SwitchAtEnd();
}

bool Player::_DeliverNext() {
  CRkRef<IRkAVPlaySample> sample;
  if (!m_channel->GetSample(kSampleWaitMs, sample.Out())) {
    _RestMonitor();
    return _SwitchAtEnd();  // a list whose end could not be read ends without a sample
  }
  m_lastSample = Clock::now();
  if (!_HandOn(*sample.Get())) {
    _EndList(ListOutcome::Failed);
    return false;
  }
  return _SwitchAtEnd();
}

// The device stands still before it runs dry, and goes on in step with the next frame.
void Player::_RestMonitor() {
  Monitor* const monitor = m_around.monitor;
  if (monitor != nullptr && Clock::now() - m_lastSample > monitor->Reserve() / 2) monitor->Pause();
}

bool Player::_HandOn(IRkAVPlaySample& sample) {
  if (m_settings.realtime) m_pacer.WaitForNextFrame();
  m_onAir->Deliver(sample, m_programmeFrames++, m_lastSample);
  if (!m_around.output.Write(sample)) return false;
  if (Monitor* const monitor = m_around.monitor; monitor != nullptr) {
    monitor->Put(sample, {m_onAir->Index(), m_onAir->Position()}, _Caption("playing"));
    for (const std::string& news : monitor->News()) m_progress.Say(news);
  }
  _TellProgress();
  return true;
}

// With a monitor, of the frame on screen: those put last are still to be shown.
void Player::_TellProgress() {
  FramePlace place = {m_onAir->Index(), m_onAir->Position()};
  if (m_around.monitor != nullptr && m_progress.IsDue()) {
    m_progress.Note(ShortNote(m_around.monitor->Seen()));
    place = m_around.monitor->Shown().value_or(place);
  }
  m_progress.FramesDelivered(1, place.list, place.position);
}

// Without a take to wait for, a list that has ended waits only for the next one to be cued, and that counts
// as part of the change-over.
bool Player::_SwitchAtEnd() {
  const Clock::time_point now = Clock::now();
  UINT status = RkSwitchStatus_Playing;
  const bool goesOn = m_channel->SwitchChannel(&status) != FALSE;
  const Clock::time_point since = m_onAir->HasEnded() ? m_onAir->EndedSince() : now;
  const bool hasJustEnded = m_onAir->SetEnded(status == RkSwitchStatus_AwaitingSwitch, now);
  if (hasJustEnded && m_settings.manual && m_takesWhenDue == 0) _AwaitTake();
  const bool switched = status == RkSwitchStatus_Switched;
  if (switched || !goesOn) _EndList(ListOutcome::Played);
  if (switched) _BeginList(since);
  return goesOn;
}

// Says so when the last picture stands on the screen.
void Player::_AwaitTake() {
  if (Monitor* const monitor = m_around.monitor; monitor != nullptr) {
    monitor->Pause();
    monitor->SetTitle(_Caption("has ended, Enter takes the next"));
  }
  m_progress.AwaitsTake(m_onAir->Index());
}

bool Player::_SwitchNow(ListOutcome cut) {
  const bool hadEnded = m_onAir->HasEnded();
  _EndList(cut);
  const Clock::time_point since = Clock::now();
  if (!_WaitForCue() || !m_channel->SwitchChannelAtOnce()) return false;  // no list is left
  if (hadEnded) m_pacer.Restart();
  _BeginList(since);
  return true;
}

// The channel counts the passes of the playing and the cued list by one number, which is set right when
// the cued one goes on air.
void Player::_BeginList(Clock::time_point since) {
  const size_t index = m_cuer->OnAir();
  const ClipList& list = m_programme.lists[index];
  m_onAir.emplace(index, list, m_statistics.lists[index], since);
  m_lastSample = Clock::now();
  if (m_wasRepeatChanged) m_channel->SetRepeatCount(list.repeatCount);
  m_transport.ListBegins(list.frameCount);
  m_progress.ListBegins(index);
}

void Player::_EndList(ListOutcome cut) {
  m_onAir->End(cut, m_statistics.errors);
  m_programme.lists[m_onAir->Index()].elements.Reset();
}

void Player::_StopChannel() {
  const Clock::time_point start = Clock::now();
  m_channel->Stop();
  m_statistics.worstStopMs = Milliseconds(Clock::now() - start);
}

bool Player::_ObeyKeys() {
  const ClipList& list = m_onAir->List();
  const bool isPaused = m_transport.IsPaused();
  const KeyWish wish = TakeWish(m_around.keys, m_onAir->Position(), isPaused, list.frameCount,
                                m_programme.format.video.frameRate);
  if (wish.wantsHelp) m_progress.Say(kPlayKeysHelp);
  if (wish.togglesRepeat) _ToggleRepeat();
  if (m_settings.manual) m_takesWhenDue += wish.takesWhenDue;
  if (wish.quits) {
    _EndList(ListOutcome::Stopped);
    return false;
  }
  if (wish.takes) return _TakeNext();
  const bool standsAtEnd = m_onAir->HasEnded() && !wish.moves;  // there is nothing to hold
  if (wish.isPaused && !standsAtEnd && (!isPaused || wish.moves)) {
    _Hold(wish);
  } else if (!wish.isPaused && isPaused) {
    const bool isElsewhere = wish.moves || m_onAir->IsMovedWhilePaused();
    _GoOnFrom(isElsewhere ? wish.position : m_onAir->DuePosition());
  } else if (!wish.isPaused && wish.moves) {
    _GoOnFrom(wish.position);
  }
  return true;
}

void Player::_Hold(const KeyWish& wish) {
  if (m_around.monitor != nullptr) m_around.monitor->Pause();
  CRkRef<IRkAVPlaySample> sample;
  if (!m_transport.HoldOn(wish.position, sample)) {
    m_progress.Say("frame " + std::to_string(wish.position) + " cannot be shown");
    return;
  }
  m_onAir->Hold(wish.position, wish.moves);
  if (m_around.monitor != nullptr) m_around.monitor->ShowStill(*sample.Get(), _Caption("paused"));
  m_progress.Paused(m_onAir->Index(), wish.position);
}

void Player::_GoOnFrom(UINT position) {
  if (!m_transport.GoOnFrom(position)) {
    m_progress.Say("frame " + std::to_string(position) + " cannot be reached");
  }
  m_onAir->GoOnFrom(position);
  m_lastSample = Clock::now();
  m_pacer.Restart();
}

void Player::_ToggleRepeat() {
  m_channel->SetRepeatCount(m_onAir->ToggleRepeat());
  m_wasRepeatChanged = true;
  m_progress.Say(m_onAir->Repeats() ? "repeats" : "plays to its end");
}

bool Player::_TakeNext() {
  if (!m_cuer->IsReady() || !m_cuer->HasNext()) {
    m_progress.Say(m_cuer->HasNext() ? "the next list is not cued yet" : "there is no next list");
    return true;
  }
  return _SwitchNow(m_onAir->HasEnded() ? ListOutcome::Played : ListOutcome::Taken);
}

// A list may be left once the next is cued, or none is: at its end, an endless one at any time.
bool Player::_ServeTakesWhenDue() {
  const bool mayBeLeft = m_onAir->HasEnded() || m_onAir->Repeats() || m_onAir->List().HasLiveEnd();
  if (!m_settings.manual || !mayBeLeft || !m_cuer->IsReady()) return true;
  if (m_takesWhenDue > 0) {
    --m_takesWhenDue;
    return _SwitchNow(m_onAir->HasEnded() ? ListOutcome::Played : ListOutcome::Taken);
  }
  const bool hasWindow = m_around.monitor != nullptr && m_around.monitor->HasWindow();
  const bool maybeTyped = m_around.terminal != nullptr && !m_around.terminal->InputEnded();
  if (!m_onAir->HasEnded() || hasWindow || maybeTyped) return true;
  _EndList(ListOutcome::Played);
  m_statistics.errors.emplace_back("the standard input has ended: nothing can take the next list");
  return false;
}

std::string Player::_Caption(const char* state) const {
  return "list " + std::to_string(m_onAir->Index() + 1) + "  " + m_onAir->List().title + "  " +
         Timecode(m_programme.format.video.frameRate, m_onAir->Position()) + "  " + state;
}

}  // namespace rkplay
