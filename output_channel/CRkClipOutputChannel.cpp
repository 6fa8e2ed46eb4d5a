#include "output_channel/CRkClipOutputChannel.h"

#include <new>

#include "base/RkCreateObject.h"
#include "output_channel/RkOutputChannelLog.h"
#include "source_channel/CRkClipSourceChannel.h"

using namespace RkOutputChannelLog;

CRkClipOutputChannel::CRkClipOutputChannel(SRkChannelWaits& waits) : m_waits(waits), m_request(waits) {}

// The sink is released after the workers have ended.
CRkClipOutputChannel::~CRkClipOutputChannel() {
  _OnAllThree([](CRkRef<IRkClipSourceChannel>& channel) { channel.Reset(); });
  m_notify.Reset();
}

BOOL CRkClipOutputChannel::_Initialize(UINT preRollCount, UINT cacheCapacity,
                                       const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format,
                                       IRkPlayBufferPool* pool, IRkClipOutputChannelNotify* notify) {
  if (!m_request.IsValid()) return FALSE;
  for (auto& channel : m_channels) {
    auto* created = new (std::nothrow) CRkClipSourceChannel(resolution, format, m_waits);
    if (!RkInitializeAndHandOut(created, channel.Out(), preRollCount, cacheCapacity, pool)) return FALSE;
  }
  m_onAirSound.SetFrameRate(resolution.frameRate);
  m_onAirSound.SetSamplesPerSecond(format.samplesPerSecond);
  m_notify = CRkRef<IRkClipOutputChannelNotify>::Retain(notify);
  return TRUE;
}

// On the Playing, the Waiting and the Seeking channel.
template <class Operation>
void CRkClipOutputChannel::_OnAllThree(Operation operation) {
  const UINT playing = m_playingIndex;
  operation(m_channels[playing]);
  operation(m_channels[1 - playing]);
  operation(m_channels[2]);
}

UINT CRkClipOutputChannel::_PlayingStatus() const {
  UINT status = 0;
  _Playing().GetStatus(&status);
  return status;
}

bool CRkClipOutputChannel::_WaitingHasElements() const {
  return _Waiting().GetElementCount() > 0;
}

// ---- delivery and control

BOOL CRkClipOutputChannel::GetSample(DWORD timeoutMs, IRkAVPlaySample** sample) {
  CRkScopedLock lock(m_sampleLock);
  CRkFunctionLog banner(kGetSampleBanner);
  if (!_Playing().GetSample(timeoutMs, sample)) return FALSE;
  m_onAirSound.Deliver(sample);
  RkLogTraceLine(RkLogLevel_Debug, kGetSample, __LINE__, (*sample)->GetPosition());
  return TRUE;
}

BOOL CRkClipOutputChannel::Play() {
  CRkScopedLock control(m_controlLock);
  CRkScopedLock sample(m_sampleLock);
  if (_Playing().GetElementCount() <= 0) {
    if (!_WaitingHasElements()) {
      Trace(kNothingToPlay);
      return FALSE;
    }
    _ExchangeRoles();
    _Playing().Activate();
    _NotifyWaitingChannelFree(TRUE);
  }
  _NotifyPlayEnd(FALSE);
  return TRUE;
}

BOOL CRkClipOutputChannel::Stop() {
  CRkScopedLock control(m_controlLock);
  CRkScopedLock sample(m_sampleLock);
  _OnAllThree([](const CRkRef<IRkClipSourceChannel>& channel) {
    channel->Stop();
    channel->RemoveAllElements();
  });
  // A sink may call Stop from its own notification of the end, and is notified once.
  if (m_stopping) return TRUE;
  m_stopping = true;
  _NotifyWaitingChannelFree(TRUE);
  _NotifyPlayEnd(TRUE);
  m_stopping = false;
  return TRUE;
}

void CRkClipOutputChannel::SetRepeatCount(int repeatCount) {
  CRkScopedLock control(m_controlLock);
  CRkScopedLock sample(m_sampleLock);
  _OnAllThree([&](const auto& channel) { channel->SetRepeatCount(repeatCount); });
}

// ---- settings

BOOL CRkClipOutputChannel::SetSampleProcessor(IRkClipSampleProcessor* processor) {
  CRkScopedLock lock(m_sampleLock);
  if (processor == nullptr) return FALSE;
  _OnAllThree([&](const auto& channel) { channel->SetSampleProcessor(processor); });
  return TRUE;
}

void CRkClipOutputChannel::RemoveSampleProcessor() {
  CRkScopedLock lock(m_sampleLock);
  _OnAllThree([](const auto& channel) { channel->RemoveSampleProcessor(); });
}

void CRkClipOutputChannel::SetVideoResolution(const SRkVideoResolution& resolution) {
  m_onAirSound.SetFrameRate(resolution.frameRate);
  _OnAllThree([&](const auto& channel) { channel->SetVideoResolution(resolution); });
}

void CRkClipOutputChannel::SetWaveFormatInfo(const SRkWaveFormatInfo& format) {
  m_onAirSound.SetSamplesPerSecond(format.samplesPerSecond);
  _OnAllThree([&](const auto& channel) { channel->SetWaveFormatInfo(format); });
}

BOOL CRkClipOutputChannel::SetPlayBufferPool(IRkPlayBufferPool* pool) {
  _OnAllThree([&](const auto& channel) { channel->SetPlayBufferPool(pool); });
  return TRUE;
}

UINT CRkClipOutputChannel::GetElementMode(BOOL ofPlaying) {
  if (!ofPlaying) {
    CRkScopedLock control(m_controlLock);  // not half-way through a load
    CRkScopedLock sample(m_sampleLock);
    return _Waiting().GetElementMode();
  }
  CRkScopedLock sample(m_sampleLock);
  return _Playing().GetElementMode();
}

void CRkClipOutputChannel::SetElementMode(BOOL ofPlaying, UINT mode, UINT position) {
  if (!ofPlaying) {
    CRkScopedLock control(m_controlLock);  // not half-way through a load
    CRkScopedLock sample(m_sampleLock);
    return _Waiting().SetElementMode(mode, position);
  }
  CRkScopedLock sample(m_sampleLock);
  _Playing().SetElementMode(mode, position);
}

BOOL CRkClipOutputChannel::GetPosition(UINT* position) {
  CRkScopedLock lock(m_sampleLock);
  return _Playing().GetPosition(position);
}

// ---- seeking

BOOL CRkClipOutputChannel::BeginSeek(UINT mode) {
  CRkScopedLock lock(m_sampleLock);
  return _Playing().BeginSeek(mode);
}

BOOL CRkClipOutputChannel::Seek(UINT position, DWORD timeoutMs) {
  CRkFunctionLog banner(kSeekBanner);
  CRkScopedLock lock(m_sampleLock);
  return _Playing().Seek(position, timeoutMs);
}

void CRkClipOutputChannel::EndSeek() {
  CRkScopedLock lock(m_sampleLock);
  _Playing().EndSeek();
}

// ---- switching

BOOL CRkClipOutputChannel::SwitchChannel(UINT* status) {
  std::optional<bool> autoSwitch;  // the sink's answer, asked for at most once a call
  if (!_FindsSomethingToDo(status, autoSwitch)) return TRUE;

  // No lock was held since the look: look again.
  CRkScopedLock control(m_controlLock);
  CRkScopedLock sample(m_sampleLock);
  switch (_PlayingStatus()) {
    case RkSourceChannel_Playing:
      return _ServeRequest(status);
    case RkSourceChannel_Stopped:
      return _PassOnAtEnd(status, _IsAutoSwitch(autoSwitch));
    default:
      return TRUE;
  }
}

// Writes the status of a call that acts on nothing.
bool CRkClipOutputChannel::_FindsSomethingToDo(UINT* status, std::optional<bool>& autoSwitch) {
  UINT playing = 0;
  {
    CRkScopedLock sample(m_sampleLock);
    playing = _PlayingStatus();
  }
  if (playing == RkSourceChannel_Playing) {
    *status = RkSwitchStatus_Playing;
    return m_request.IsPending();
  }
  if (playing != RkSourceChannel_Stopped) return false;
  if (_IsAutoSwitch(autoSwitch)) return true;
  *status = RkSwitchStatus_AwaitingSwitch;
  return m_request.IsPending();
}

bool CRkClipOutputChannel::_IsAutoSwitch(std::optional<bool>& autoSwitch) {
  if (!autoSwitch) {
    Trace(kListEnded);
    autoSwitch = !m_notify || m_notify->IsAutoSwitch();
  }
  return *autoSwitch;
}

void CRkClipOutputChannel::_TakeRequest() {
  UINT position = 0;
  _Playing().GetPosition(&position);
  m_request.Take(position);
}

BOOL CRkClipOutputChannel::_ServeRequest(UINT* status) {
  *status = RkSwitchStatus_Playing;
  if (!m_request.IsPending()) return TRUE;
  Trace(kRequestSeen);
  _TakeRequest();
  const bool switched = _WaitingHasElements();
  if (switched) {
    Trace(kSwitchAtRequest);
    _Exchange(EEmptying::Stop);
    *status = RkSwitchStatus_Switched;
    _NotifyWaitingChannelFree(TRUE);
  } else {
    Trace(kNothingWaits);
  }
  m_request.Answer();
  return switched ? TRUE : FALSE;
}

BOOL CRkClipOutputChannel::_PassOnAtEnd(UINT* status, bool autoSwitch) {
  if (!autoSwitch) {
    *status = RkSwitchStatus_AwaitingSwitch;
    if (!m_request.IsPending()) return TRUE;
    _TakeRequest();
  }
  const bool switched = _WaitingHasElements();
  if (switched) {
    Trace(kSwitchAtEnd);
    _Exchange(EEmptying::LetRun);
    *status = RkSwitchStatus_Switched;
    _NotifyWaitingChannelFree(TRUE);
  } else {
    Trace(kPlaybackEnds);
    *status = RkSwitchStatus_Ended;
    _NotifyPlayEnd(TRUE);
  }
  if (!autoSwitch) m_request.Answer();
  return switched ? TRUE : FALSE;
}

void CRkClipOutputChannel::_ExchangeRoles() {
  m_playingIndex = 1 - m_playingIndex;
}

void CRkClipOutputChannel::_Exchange(EEmptying emptying) {
  _ExchangeRoles();
  if (emptying == EEmptying::Stop) _Waiting().Stop();
  _Waiting().RemoveAllElements();
  _Playing().Activate();
}

BOOL CRkClipOutputChannel::SwitchChannelAtOnce() {
  CRkScopedLock control(m_controlLock);
  CRkScopedLock sample(m_sampleLock);
  if (!_WaitingHasElements()) return FALSE;
  _Exchange(EEmptying::Stop);
  _NotifyWaitingChannelFree(TRUE);
  return TRUE;
}

BOOL CRkClipOutputChannel::SwitchPlay(UINT* position) {
  CRkScopedLock lock(m_switchPlayLock);
  CRkFunctionLog banner(kSwitchPlayBanner);
  const std::optional<UINT> answer = m_request.RaiseAndWait();
  if (!answer) {
    Trace(kSwitchPlayFailed);
    return FALSE;
  }
  *position = *answer;
  Trace(kSwitchPlayDone);
  return TRUE;
}

// ---- editing the Waiting channel

BOOL CRkClipOutputChannel::InsertClipElement(IRkClipElementList* list, int repeatCount, UINT startPosition) {
  CRkScopedLock control(m_controlLock);
  CRkFunctionLog banner(kInsertBanner);
  if (list == nullptr || list->GetCount() <= 0) return FALSE;
  return _LoadWaitingChannel([&] { return _InsertAll(*list); }, repeatCount, startPosition);
}

BOOL CRkClipOutputChannel::InsertClipElement(IRkClipElement* element, int repeatCount, UINT startPosition) {
  CRkScopedLock control(m_controlLock);
  CRkFunctionLog banner(kInsertBanner);
  if (element == nullptr) return FALSE;
  return _LoadWaitingChannel([&] { return _Waiting().InsertElement(0, element) != FALSE; }, repeatCount,
                             startPosition);
}

template <class Insert>
BOOL CRkClipOutputChannel::_LoadWaitingChannel(Insert insert, int repeatCount, UINT startPosition) {
  if (!_DeleteWaitingChannelClip()) {
    Trace(kInsertDeleteFailed);
    return FALSE;
  }
  _NotifyWaitingChannelFree(FALSE);
  if (!insert()) {
    Trace(kInsertInsertFailed);
    _NotifyWaitingChannelFree(TRUE);
    return FALSE;
  }
  if (!_Waiting().Play(startPosition, repeatCount)) {
    Trace(kInsertPlayFailed);
    _DeleteWaitingChannelClip();
    _NotifyWaitingChannelFree(TRUE);
    return FALSE;
  }
  return TRUE;
}

bool CRkClipOutputChannel::_InsertAll(IRkClipElementList& list) {
  CRkRef<IRkClipElement> element;
  list.GetFirstElement(element.Out());
  for (UINT index = 0; element; ++index) {
    if (!_Waiting().InsertElement(index, element.Get())) return false;
    CRkRef<IRkClipElement> next;
    list.GetNextElement(element.Get(), next.Out());
    element = std::move(next);
  }
  return true;
}

BOOL CRkClipOutputChannel::DeleteClip() {
  CRkScopedLock control(m_controlLock);
  CRkFunctionLog banner(kDeleteBanner);
  if (!_DeleteWaitingChannelClip()) return FALSE;
  _NotifyWaitingChannelFree(TRUE);
  return TRUE;
}

BOOL CRkClipOutputChannel::_DeleteWaitingChannelClip() {
  if (!_Waiting().Stop()) {
    Trace(kDeleteStopFailed);
    return FALSE;
  }
  if (!_Waiting().RemoveAllElements()) {
    Trace(kDeleteRemoveFailed);
    return FALSE;
  }
  return TRUE;
}

// ---- notifications

void CRkClipOutputChannel::_NotifyWaitingChannelFree(BOOL free) {
  if (m_notify) m_notify->OnWaitingChannelFree(free);
}

void CRkClipOutputChannel::_NotifyPlayEnd(BOOL ended) {
  if (m_notify) m_notify->OnPlayEnd(ended);
}
