#include "host/Player.h"

#include <algorithm>

#include "contracts/RkMediaElement.h"
#include "contracts/RkPictureLayout.h"
#include "host/PlayBufferPool.h"
#include "host/UsageError.h"
#include "module/RkClipPlay.h"

namespace rkplay {
namespace {

// Short waits, so that a stop or a take is never left standing.
constexpr DWORD kSampleWaitMs = 50;
constexpr DWORD kSwitchPollMs = 5;
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
  if (!RkCreateClipOutputChannel(std::min(kPreRoll, capacity), capacity, format.video, format.audio,
                                 pool.Get(), &cuer, channel.Out())) {
    throw UsageError("the output channel cannot be created");
  }
  return channel;
}

}  // namespace

Player::Player(Programme& programme, const Options& options, FrameOutput& output, StopSignals& stopSignals)
    : m_programme(programme),
      m_realtime(options.realtime),
      m_output(output),
      m_stopSignals(stopSignals),
      m_cuer(CRkRef<Cuer>::Adopt(new Cuer(programme.lists, options.manual))),
      m_channel(CreateChannel(programme.format, *m_cuer.Get())),
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
  if (options.manual) m_taker.emplace(m_channel.Get());
}

Statistics Player::Run() {
  const Clock::time_point start = Clock::now();
  _Play();
  m_progress.End();
  m_cuer->Stop();
  _StopTaker();
  _StopChannel();
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
    if (m_ended) {
      m_cuer->WaitForChange(kSwitchPollMs);
    } else if (!_DeliverNext()) {
      return;
    }
    if (!_Switch()) return;
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

// Slow decoding is no end: only a file that can no longer be read at all is given up.
bool Player::_DeliverNext() {
  CRkRef<IRkAVPlaySample> sample;
  if (!m_channel->GetSample(kSampleWaitMs, sample.Out())) {
    return Clock::now() - m_lastSample < kStall || !_DueFileIsLost() || _LeaveList();
  }
  m_lastSample = Clock::now();
  if (!_IsDue(*sample.Get()) && _DueFileIsLost()) return _LeaveList();
  if (m_realtime) m_pacer.WaitForNextFrame();
  if (!m_output.Write(*sample.Get())) {
    _EndList(ListOutcome::Failed);
    return false;
  }
  ListResult& result = m_statistics.lists[m_onAir];
  if (++result.deliveredFrames == result.announcedFrames) {
    m_unread = m_programme.lists[m_onAir].CountReadErrors(result.deliveredFrames);
  }
  m_progress.FrameDelivered();
  return true;
}

// Every frame must follow the one before, also from the end of a pass to the next.
bool Player::_IsDue(IRkAVPlaySample& sample) {
  ListResult& result = m_statistics.lists[m_onAir];
  if (!result.firstSampleWaitMs) result.firstSampleWaitMs = Milliseconds(m_lastSample - m_listSince);
  const UINT due = m_programme.lists[m_onAir].PositionAfter(result.deliveredFrames);
  if (sample.GetPosition() == due) return true;
  if (result.outcome != ListOutcome::Failed) {
    _Fail(m_onAir, m_programme.lists[m_onAir].title + ": frame " + std::to_string(sample.GetPosition()) +
                       " came where " + std::to_string(due) + " was due");
  }
  return false;
}

// An element that cannot be opened again is passed over in silence: its file has to be looked at.
bool Player::_DueFileIsLost() {
  m_lastSample = Clock::now();  // not again for a while
  const ClipList& list = m_programme.lists[m_onAir];
  const auto* file = list.FileAt(list.PositionAfter(m_statistics.lists[m_onAir].deliveredFrames));
  SRkMediaDescription description{};
  std::string reason;
  if (file == nullptr || RkDescribeMedia(file->path.c_str(), &description, reason)) return false;
  _Fail(m_onAir, file->path + ": " + reason + ", the list is left");
  return true;
}

bool Player::_LeaveList() {
  _EndList(ListOutcome::Failed);
  if (!_WaitForCue() || !m_channel->SwitchChannelAtOnce()) return false;  // no list is left
  _BeginList(Clock::now());
  return true;
}

// Without a taker a list that has ended waits only for the next one to be cued, and that counts as part of
// the change-over.
bool Player::_Switch() {
  const Clock::time_point now = Clock::now();
  UINT status = RkSwitchStatus_Playing;
  const bool goesOn = m_channel->SwitchChannel(&status) != FALSE;
  const bool hadEnded = m_ended;
  m_ended = status == RkSwitchStatus_AwaitingSwitch;
  if (m_ended && !hadEnded) {
    m_endedSince = now;
    if (m_taker) m_progress.AwaitsTake();
  }
  const bool switched = status == RkSwitchStatus_Switched;
  if (switched || !goesOn) _EndList(ListOutcome::Taken);
  if (switched) {
    if (m_taker && hadEnded) m_pacer.Restart();
    _BeginList(hadEnded && !m_taker ? m_endedSince : now);
  }
  return goesOn && (!m_taker || _OfferTake());
}

void Player::_BeginList(Clock::time_point since) {
  m_onAir = m_cuer->OnAir();
  m_takeGranted = false;
  m_listSince = since;
  m_lastSample = Clock::now();
  m_progress.ListBegins(m_onAir, m_programme.lists[m_onAir]);
}

// `cut`: what it means if not every frame has been delivered. Only an endless list can be taken before.
void Player::_EndList(ListOutcome cut) {
  ClipList& list = m_programme.lists[m_onAir];
  ListResult& result = m_statistics.lists[m_onAir];
  const bool whole = result.announcedFrames == result.deliveredFrames;
  if (!whole && cut == ListOutcome::Taken && !list.IsEndless()) {
    _Fail(m_onAir, list.title + ": ended after " + std::to_string(result.deliveredFrames) + " of " +
                       std::to_string(*result.announcedFrames) + " frames");
  }
  const auto unread = whole ? m_unread : list.CountReadErrors(result.deliveredFrames);
  result.readErrors = unread.frames;
  if (unread.frames != 0) {
    _Report(m_onAir, unread.first + " (" + std::to_string(unread.frames) +
                         " frames went out as the last good picture with silence)");
  }
  const ListOutcome played = unread.frames == 0 ? ListOutcome::Played : ListOutcome::Damaged;
  if (result.outcome != ListOutcome::Failed) result.outcome = whole ? played : cut;
  list.Free();
}

// A list may be left once the next is cued, or none is: at its end, an endless one at any time.
bool Player::_OfferTake() {
  const bool mayLeave = m_ended || m_programme.lists[m_onAir].IsEndless();
  if (!m_takeGranted && mayLeave && m_cuer->IsReady()) {
    m_takeGranted = true;
    m_taker->Grant();
  }
  if (!m_ended || !m_taker->InputEnded()) return true;
  _EndList(ListOutcome::Played);
  m_statistics.errors.emplace_back("the standard input has ended: nothing can take the next list");
  return false;
}

// The taker may be inside a request, which only SwitchChannel ends.
void Player::_StopTaker() {
  if (!m_taker) return;
  m_taker->RequestStop();
  while (!m_taker->IsOver()) {
    UINT status = RkSwitchStatus_Playing;
    m_channel->SwitchChannel(&status);
    m_cuer->WaitForChange(kSwitchPollMs);
  }
  m_taker.reset();
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
