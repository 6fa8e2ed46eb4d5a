#include "rkplay/play/Player.h"

#include <algorithm>

#include "contracts/RkMediaElement.h"
#include "contracts/RkPictureLayout.h"
#include "module/RkClipPlay.h"
#include "rkplay/cli/UsageError.h"
#include "rkplay/clips/PlayBufferPool.h"

namespace rkplay {
namespace {

// Short waits, so that a stop or a key is never left standing.
constexpr DWORD kSampleWaitMs = 50;
constexpr DWORD kSwitchPollMs = 5;
constexpr DWORD kKeyPollMs = 50;
// Without a sample for so long, the file is looked at again.
constexpr std::chrono::seconds kStall(1);

// Read ahead per channel: enough to ride out a slow open, within a bound on memory for large pictures.
constexpr size_t kReadAheadBytes = size_t{256} << 20;
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

Player::Player(Programme& programme, const Options& options, const Surroundings& surroundings)
    : m_programme(programme),
      m_isManual(options.manual),
      m_realtime(options.realtime && surroundings.monitor == nullptr),
      m_output(surroundings.output),
      m_stopSignals(surroundings.stopSignals),
      m_keys(surroundings.keys),
      m_terminal(surroundings.terminal),
      m_monitor(surroundings.monitor),
      m_cuer(CRkRef<Cuer>::Adopt(new Cuer(programme.lists, options.manual))),
      m_channel(CreateChannel(programme.format, *m_cuer.Get())),
      m_transport(*m_channel.Get()),
      m_pacer(programme.format.video.frameRate),
      m_progress(programme.format.video.frameRate, programme.lists.size()) {
  m_statistics.format = programme.format;
  m_statistics.realtime = m_realtime;
  for (const ClipList& list : programme.lists) {
    ListResult result;
    result.clip = list.title;
    result.announcedFrames = list.AnnouncedFrames();
    m_statistics.lists.push_back(result);
  }
}

Statistics Player::Run() {
  const Clock::time_point start = Clock::now();
  _Play();
  if (m_terminal != nullptr) m_terminal->Restore();
  m_cuer->Stop();
  _StopChannel();
  if (m_monitor != nullptr) {
    m_monitor->Close(m_statistics.errors);
    m_statistics.seen = m_monitor->Seen();
  }
  m_progress.End();
  for (const size_t list : m_cuer->Refused())
    _Fail(list, m_programme.lists[list].title + ": could not be cued");
  m_output.Close(m_statistics.errors);
  m_statistics.stopSignal = m_stopSignals.Asked();
  m_statistics.lateFrames = m_pacer.LateFrames();
  m_statistics.worstLateMs = Milliseconds(m_pacer.WorstLate());
  m_statistics.wallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
  return m_statistics;
}

void Player::_Play() {
  m_cuer->Start(m_channel.Get());
  if (!_StartFirstList()) return;
  while (m_stopSignals.Asked() == 0) {
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
    if (m_stopSignals.Asked() != 0) return false;
    m_cuer->WaitForChange(kSampleWaitMs);
  }
  return true;
}

bool Player::_Advance() {
  if (m_transport.IsPaused()) {
    m_keys.Wait(kKeyPollMs);
    return true;
  }
  if (!m_ended) return _DeliverNext();
  m_cuer->WaitForChange(kSwitchPollMs);
  _RestMonitor();
  return _SwitchAtEnd();
}

// Slow decoding is no end: only a file that can no longer be read at all is given up.
bool Player::_DeliverNext() {
  CRkRef<IRkAVPlaySample> sample;
  if (!m_channel->GetSample(kSampleWaitMs, sample.Out())) {
    _RestMonitor();
    return Clock::now() - m_lastSample < kStall || !_DueFileIsLost() || _SwitchNow(ListOutcome::Failed);
  }
  m_lastSample = Clock::now();
  if (!_IsDue(*sample.Get()) && _DueFileIsLost()) return _SwitchNow(ListOutcome::Failed);
  if (!_HandOn(*sample.Get())) {
    _EndList(ListOutcome::Failed);
    return false;
  }
  return _SwitchAtEnd();
}

// Before the device runs dry it stands still, and begins anew, in step, with the next frame.
void Player::_RestMonitor() {
  if (m_monitor != nullptr && Clock::now() - m_lastSample > m_monitor->Reserve() / 2) m_monitor->Pause();
}

bool Player::_HandOn(IRkAVPlaySample& sample) {
  if (m_realtime) m_pacer.WaitForNextFrame();
  m_position = sample.GetPosition();
  if (!m_output.Write(sample)) return false;
  if (m_monitor != nullptr && !m_monitor->Put(sample, _Caption("playing"))) {
    _Report(m_onAir, "the monitor took no more frames");
    return false;
  }
  ListResult& result = m_statistics.lists[m_onAir];
  ++m_played.back().frames;
  if (++result.deliveredFrames == result.announcedFrames) m_unread = _List().CountReadErrors(m_played);
  _NoteWhatWasSeen();
  m_progress.FramesDelivered(1, m_position);
  return true;
}

UINT Player::_DuePosition() const {
  return _List().PositionAfter(m_played.back());
}

// Every frame must follow the one before, also from the end of a pass to the next.
bool Player::_IsDue(IRkAVPlaySample& sample) {
  ListResult& result = m_statistics.lists[m_onAir];
  if (!result.firstSampleWaitMs) result.firstSampleWaitMs = Milliseconds(m_lastSample - m_listSince);
  const UINT due = _DuePosition();
  if (sample.GetPosition() == due) return true;
  if (result.outcome != ListOutcome::Failed) {
    _Fail(m_onAir, _List().title + ": frame " + std::to_string(sample.GetPosition()) + " came where " +
                       std::to_string(due) + " was due");
  }
  return false;
}

// An element that cannot be opened again is passed over in silence: its file has to be looked at.
bool Player::_DueFileIsLost() {
  m_lastSample = Clock::now();  // not again for a while
  const auto* file = _List().FileAt(_DuePosition());
  SRkMediaDescription description{};
  SRkMediaReason reason{};
  if (file == nullptr || RkDescribeMedia(file->path.c_str(), &description, &reason)) return false;
  _Fail(m_onAir, file->path + ": " + reason.text + ", the list is left");
  return true;
}

// Without a take to wait for, a list that has ended waits only for the next one to be cued, and that counts
// as part of the change-over.
bool Player::_SwitchAtEnd() {
  const Clock::time_point now = Clock::now();
  UINT status = RkSwitchStatus_Playing;
  const bool goesOn = m_channel->SwitchChannel(&status) != FALSE;
  const bool hadEnded = m_ended;
  m_ended = status == RkSwitchStatus_AwaitingSwitch;
  if (m_ended && !hadEnded) {
    m_endedSince = now;
    if (m_isManual) m_progress.AwaitsTake();
  }
  const bool switched = status == RkSwitchStatus_Switched;
  if (switched || !goesOn) _EndList(ListOutcome::Played);
  if (switched) _BeginList(hadEnded ? m_endedSince : now);
  return goesOn;
}

bool Player::_SwitchNow(ListOutcome cut) {
  _EndList(cut);
  const Clock::time_point since = Clock::now();
  if (!_WaitForCue() || !m_channel->SwitchChannelAtOnce()) return false;  // no list is left
  if (m_ended) m_pacer.Restart();
  m_ended = false;
  _BeginList(since);
  return true;
}

void Player::_BeginList(Clock::time_point since) {
  m_onAir = m_cuer->OnAir();
  const ClipList& list = _List();
  m_played = {{list.startFrame, 0}};
  m_position = list.startFrame;
  m_wasMoved = false;
  m_repeats = list.IsEndless();
  m_unread.reset();
  m_listSince = since;
  m_lastSample = Clock::now();
  if (m_wasRepeatChanged) m_channel->SetRepeatCount(list.repeatCount);
  m_transport.ListBegins(list.frameCount);
  m_progress.ListBegins(m_onAir, list);
}

// `cut`: how it ends if not every frame of its length has been delivered.
void Player::_EndList(ListOutcome cut) {
  ClipList& list = _List();
  ListResult& result = m_statistics.lists[m_onAir];
  const bool whole = cut == ListOutcome::Played && m_wasMoved ? true : m_unread.has_value();
  if (!whole && cut == ListOutcome::Played) {
    _Fail(m_onAir, list.title + ": ended after " + std::to_string(result.deliveredFrames) + " of " +
                       (result.announcedFrames ? std::to_string(*result.announcedFrames) : "endless") +
                       " frames");
  }
  const auto unread = m_unread ? *m_unread : list.CountReadErrors(m_played);
  result.readErrors = unread.frames;
  if (unread.frames != 0) {
    _Report(m_onAir, unread.first + " (" + std::to_string(unread.frames) +
                         " frames went out as the last good picture with silence)");
  }
  const ListOutcome played = unread.frames == 0 ? ListOutcome::Played : ListOutcome::Damaged;
  if (result.outcome != ListOutcome::Failed) result.outcome = whole ? played : cut;
  list.Free();
}

void Player::_StopChannel() {
  const Clock::time_point start = Clock::now();
  m_channel->Stop();
  m_statistics.worstStopMs = Milliseconds(Clock::now() - start);
}

void Player::_Fail(size_t list, const std::string& reason) {
  m_statistics.lists[list].outcome = ListOutcome::Failed;
  _Report(list, reason);
}

void Player::_Report(size_t list, const std::string& reason) {
  m_statistics.errors.push_back("list " + std::to_string(list + 1) + ": " + reason);
}

}  // namespace rkplay
