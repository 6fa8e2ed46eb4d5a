#include "output_channel/CRkClipOutputChannel.h"

#include <new>

#include "base/RkCreateObject.h"
#include "base/RkLogLine.h"
#include "base/RkMonotonicTime.h"
#include "source_channel/CRkClipSourceChannel.h"

namespace {

constexpr DWORD kSwitchPlayTimeoutMs = 5000;

}  // namespace

CRkClipOutputChannel::CRkClipOutputChannel()
    : m_switchRequest(CRkHandle::ManualResetEvent()), m_switchDone(CRkHandle::ManualResetEvent()) {}

// The channels end their workers, which may still call the host, before the sink goes.
CRkClipOutputChannel::~CRkClipOutputChannel() {
  _OnAllThree([](CRkRef<IRkClipSourceChannel>& channel) { channel.Reset(); });
  m_notify.Reset();
}

BOOL CRkClipOutputChannel::_Initialize(UINT preRollCount, UINT cacheCapacity,
                                       const SRkVideoResolution& resolution, const SRkWaveFormatInfo& format,
                                       IRkPlayBufferPool* pool, IRkClipOutputChannelNotify* notify) {
  if (!m_switchRequest || !m_switchDone) return FALSE;
  for (auto& channel : m_channels) {
    auto* created = new (std::nothrow) CRkClipSourceChannel(resolution, format);
    if (!RkInitializeAndHandOut(created, channel.Out(), preRollCount, cacheCapacity, pool)) return FALSE;
  }
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
  CRkFunctionLog banner(L"------>CRkClipOutputChannel::GetSample<------\n");
  if (!_Playing().GetSample(timeoutMs, sample)) return FALSE;
  RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::Get", __LINE__, (*sample)->GetPosition());
  return TRUE;
}

BOOL CRkClipOutputChannel::Play() {
  CRkScopedLock control(m_controlLock);
  CRkScopedLock sample(m_sampleLock);
  if (_Playing().GetElementCount() <= 0) {
    if (!_WaitingHasElements()) {
      RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::Play", __LINE__,
                     L"CRkClipOutputChannel::Play failed. The playing channel and waiting channel have not "
                     L"any element!\n");
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
  // A sink that stops the channel whenever it hears of an end hears of each end once.
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
  _OnAllThree([&](const auto& channel) { channel->SetVideoResolution(resolution); });
}

void CRkClipOutputChannel::SetWaveFormatInfo(const SRkWaveFormatInfo& format) {
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
  CRkFunctionLog banner(L"------>CRkClipOutputChannel::Seek<------\n");
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

  // What was found may have gone while no lock was held.
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
    return _SwitchIsRequested();
  }
  if (playing != RkSourceChannel_Stopped) return false;
  if (_IsAutoSwitch(autoSwitch)) return true;
  *status = RkSwitchStatus_AwaitingSwitch;
  return _SwitchIsRequested();
}

bool CRkClipOutputChannel::_IsAutoSwitch(std::optional<bool>& autoSwitch) {
  if (!autoSwitch) {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchChannel", __LINE__,
                   L"CRkClipOutputChannel::SwitchChannel: the Playing channel has stopped now!\n");
    autoSwitch = !m_notify || m_notify->IsAutoSwitch();
  }
  return *autoSwitch;
}

void CRkClipOutputChannel::_TakeRequest() {
  {
    CRkScopedLock lock(m_requestLock);
    ResetEvent(m_switchRequest);
    m_takenRequest = m_lastRequest;
  }
  UINT position = 0;
  _Playing().GetPosition(&position);
  m_switchPosition = position;
}

void CRkClipOutputChannel::_AnswerRequest() {
  {
    CRkScopedLock lock(m_requestLock);
    m_answeredRequest = m_takenRequest;
  }
  SetEvent(m_switchDone);
}

BOOL CRkClipOutputChannel::_ServeRequest(UINT* status) {
  *status = RkSwitchStatus_Playing;
  if (!_SwitchIsRequested()) return TRUE;
  RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchChannel", __LINE__,
                 L"CRkClipOutputChannel::SwitchChannel: has a switch request!\n");
  _TakeRequest();
  const bool switched = _WaitingHasElements();
  if (switched) {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchChannel", __LINE__,
                   L"CRkClipOutputChannel::SwitchChannel: Will success to switch Playing channel and Waiting "
                   L"channel at once!\n");
    _Exchange(EEmptying::Stop);
    *status = RkSwitchStatus_Switched;
    _NotifyWaitingChannelFree(TRUE);
  } else {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchChannel", __LINE__,
                   L"CRkClipOutputChannel::SwitchChannel Error: the Waiting Channel does not exist!!!!\n");
  }
  _AnswerRequest();
  return switched ? TRUE : FALSE;
}

BOOL CRkClipOutputChannel::_PassOnAtEnd(UINT* status, bool autoSwitch) {
  if (!autoSwitch) {
    *status = RkSwitchStatus_AwaitingSwitch;
    if (!_SwitchIsRequested()) return TRUE;
    _TakeRequest();
  }
  const bool switched = _WaitingHasElements();
  if (switched) {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchChannel", __LINE__,
                   L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is not empty, so to switch "
                   L"Playing channel and Waiting channel!\n");
    _Exchange(EEmptying::LetRun);
    *status = RkSwitchStatus_Switched;
    _NotifyWaitingChannelFree(TRUE);
  } else {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchChannel", __LINE__,
                   L"CRkClipOutputChannel::SwitchChannel. The Waiting channel is empty, so to end the "
                   L"playback!\n");
    *status = RkSwitchStatus_Ended;
    _NotifyPlayEnd(TRUE);
  }
  if (!autoSwitch) _AnswerRequest();
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
  CRkFunctionLog banner(L"------>CRkClipOutputChannel::SwitchPlay<------\n");
  if (!_AwaitAnswerTo(_RaiseRequest())) {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchPlay", __LINE__,
                   L"CRkClipOutputChannel::SwitchPlay failed: maybe the play channel stopped at it "
                   L"happens!\n");
    return FALSE;
  }
  *position = m_switchPosition;
  RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::SwitchPlay", __LINE__,
                 L"CRkClipOutputChannel::SwitchPlay Successed!\n");
  return TRUE;
}

UINT CRkClipOutputChannel::_RaiseRequest() {
  ResetEvent(m_switchDone);
  CRkScopedLock lock(m_requestLock);
  SetEvent(m_switchRequest);
  return ++m_lastRequest;
}

// An answer to an earlier request, one whose wait had run out, is not the one.
bool CRkClipOutputChannel::_AwaitAnswerTo(UINT request) {
  const CRkDeadline deadline(kSwitchPlayTimeoutMs);
  while (RkWait(m_switchDone, deadline.RemainingMs())) {
    ResetEvent(m_switchDone);
    if (m_answeredRequest == request) return true;
  }
  return false;
}

// ---- editing the Waiting channel

BOOL CRkClipOutputChannel::InsertClipElement(IRkClipElementList* list, int repeatCount, UINT startPosition) {
  CRkScopedLock control(m_controlLock);
  CRkFunctionLog banner(L"------>CRkClipOutputChannel::InsertClipElement<------\n");
  if (list == nullptr || list->GetCount() <= 0) return FALSE;
  return _LoadWaitingChannel([&] { return _InsertAll(*list); }, repeatCount, startPosition);
}

BOOL CRkClipOutputChannel::InsertClipElement(IRkClipElement* element, int repeatCount, UINT startPosition) {
  CRkScopedLock control(m_controlLock);
  CRkFunctionLog banner(L"------>CRkClipOutputChannel::InsertClipElement<------\n");
  if (element == nullptr) return FALSE;
  return _LoadWaitingChannel([&] { return _Waiting().InsertElement(0, element) != FALSE; }, repeatCount,
                             startPosition);
}

template <class Insert>
BOOL CRkClipOutputChannel::_LoadWaitingChannel(Insert insert, int repeatCount, UINT startPosition) {
  constexpr auto fail = [](int line, const wchar_t* message) {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::InsertClipElement", line, message);
    return FALSE;
  };
  if (!_DeleteWaitingChannelClip()) {
    return fail(__LINE__,
                L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to delete "
                L"clip!\n");
  }
  _NotifyWaitingChannelFree(FALSE);
  if (!insert()) {
    fail(__LINE__,
         L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to insert the "
         L"element!\n");
    _NotifyWaitingChannelFree(TRUE);
    return FALSE;
  }
  if (!_Waiting().Play(startPosition, repeatCount)) {
    fail(__LINE__, L"CRkClipOutputChannel::InsertClipElement failed. The Waiting channel failed to play!\n");
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
  CRkFunctionLog banner(L"------>CRkClipOutputChannel::DeleteClip<------\n");
  if (!_DeleteWaitingChannelClip()) return FALSE;
  _NotifyWaitingChannelFree(TRUE);
  return TRUE;
}

BOOL CRkClipOutputChannel::_DeleteWaitingChannelClip() {
  const wchar_t* failure = nullptr;
  if (!_Waiting().Stop()) {
    failure = L"CRkClipOutputChannel::DeleteClip failed. The Waiting channel failed to stop!\n";
  } else if (!_Waiting().RemoveAllElements()) {
    failure = L"CRkClipOutputChannel::DeleteClip failed. The Waiting channel failed to remove all element!\n";
  }
  if (failure == nullptr) return TRUE;
  RkLogTraceLine(RkLogLevel_Debug, "CRkClipOutputChannel::_DeleteWaitingChannelClip", __LINE__, failure);
  return FALSE;
}

// ---- notifications

void CRkClipOutputChannel::_NotifyWaitingChannelFree(BOOL free) {
  if (m_notify) m_notify->OnWaitingChannelFree(free);
}

void CRkClipOutputChannel::_NotifyPlayEnd(BOOL ended) {
  if (m_notify) m_notify->OnPlayEnd(ended);
}
