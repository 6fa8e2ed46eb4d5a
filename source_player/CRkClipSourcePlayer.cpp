#include "source_player/CRkClipSourcePlayer.h"

#include <algorithm>
#include <utility>

#include "base/CRkHandle.h"
#include "base/RkWithinMemory.h"

namespace {

constexpr int kWorkerPriority = THREAD_PRIORITY_TIME_CRITICAL;

}  // namespace

CRkClipSourcePlayer::CRkClipSourcePlayer(const SRkVideoResolution& resolution,
                                         const SRkWaveFormatInfo& format, const SRkPlayerWaits& waits)
    : m_format{format, resolution}, m_waits(waits) {}

CRkClipSourcePlayer::~CRkClipSourcePlayer() {
  Close();
  if (m_thread) m_thread->Close(m_waits.closeMs);
}

BOOL CRkClipSourcePlayer::_Initialize(IRkPlayBufferPool* pool, IRkClipOutputCallback* callback) {
  if (pool == nullptr || !RkCreateWorkerThread(kWorkerPriority, m_thread.Out())) return FALSE;
  m_thread->SetOption(FALSE);
  m_thread->Create();
  m_thread->SetThreadProc(&_ThreadProc, this);
  m_bufferPool = CRkRef<IRkPlayBufferPool>::Retain(pool);
  m_callback = CRkRef<IRkClipOutputCallback>::Retain(callback);
  return TRUE;
}

BOOL CRkClipSourcePlayer::Open(IRkClipElement* clip) {
  if (clip == nullptr) return FALSE;
  Close();
  CRkRef<IRkClipTrimInfo> info;
  clip->GetTrimInfo(info.Out());
  clip->SetTrimInfo(nullptr);
  if (!clip->Open(m_bufferPool.Get(), 0, &m_format)) return FALSE;
  m_clip = CRkRef<IRkClipElement>::Retain(clip);
  m_trimInfo = std::move(info);
  _TakeOverRanges();
  Seek(0);
  return TRUE;
}

void CRkClipSourcePlayer::Close() {
  if (!m_clip) return;
  Stop();
  m_clip->Close();
  _TakeRun();  // releases a run that Stop has cancelled
  m_clip.Reset();
  m_trimInfo.Reset();
  _TakeOverRanges();
}

BOOL CRkClipSourcePlayer::SetTrimInfo(IRkClipTrimInfo* info) {
  if (info == nullptr || !m_clip) return FALSE;
  if (GetState() == RkPlayer_Playing) Stop();
  if (m_trimInfo) {
    m_trimInfo->CopyFrom(info);
  } else {
    m_trimInfo = CRkRef<IRkClipTrimInfo>::Adopt(info->Clone());
    if (!m_trimInfo) return FALSE;
  }
  _TakeOverRanges();
  return TRUE;
}

// Without the empty ranges, which hold no sample.
void CRkClipSourcePlayer::_TakeOverRanges() {
  CRkTrimWalk::Ranges ranges;
  if (m_trimInfo) m_trimInfo->GetTrimInOuts(ranges);
  std::erase_if(ranges, [](const auto& range) { return range.in == range.out; });
  m_trimList = std::move(ranges);
}

BOOL CRkClipSourcePlayer::Play(UINT startPosition, BOOL loop) {
  SRun run;
  run.loop = loop != FALSE;
  return _StartRun(startPosition, std::move(run));
}

BOOL CRkClipSourcePlayer::PlayTrimmed(UINT startPosition, BOOL loop) {
  CRkTrimWalk::Ranges ranges;
  if (!RkWithinMemory([&] { ranges = m_trimList; })) return FALSE;
  SRun run;
  run.loop = loop != FALSE;
  run.isTrimmed = true;
  run.trimInfo = m_trimInfo;
  run.walk = CRkTrimWalk(std::move(ranges));
  return _StartRun(startPosition, std::move(run));
}

// Refuses a callback that plays again while a Stop waits for it.
BOOL CRkClipSourcePlayer::_StartRun(UINT startPosition, SRun run) {
  CRkScopedLock lock(m_lock);
  if (m_stopping || !m_clip) return FALSE;
  if (m_state == RkPlayer_Playing) return TRUE;
  m_position = startPosition;
  m_state = RkPlayer_Playing;
  run.number = m_nextRun.number + 1;
  run.counter = run.walk.Begin(startPosition);
  run.clip = m_clip;
  std::swap(m_nextRun, run);
  m_thread->Start();
  return TRUE;
}

void CRkClipSourcePlayer::Stop() {
  {
    CRkScopedLock lock(m_lock);
    m_stopping = true;
    m_thread->RequestStop();
  }
  m_thread->WaitForStop(m_waits.stopMs);
  CRkScopedLock lock(m_lock);
  m_stopping = false;
  m_state = RkPlayer_Stopped;
}

BOOL CRkClipSourcePlayer::Seek(UINT position) {
  if (GetState() == RkPlayer_Playing) Stop();
  if (!m_clip || position >= m_clip->GetFrameCount()) return FALSE;
  CRkRef<IRkAVPlaySample> sample;
  if (!m_clip->ReadSampleAt(position, sample.Out()) || !sample) return FALSE;
  _Show(*sample, position);
  return TRUE;
}

UINT CRkClipSourcePlayer::GetPosition() {
  CRkScopedLock lock(m_lock);
  return m_position;
}

UINT CRkClipSourcePlayer::GetState() {
  CRkScopedLock lock(m_lock);
  return m_state;
}

void CRkClipSourcePlayer::_Show(IRkAVPlaySample& sample, UINT position) {
  {
    CRkScopedLock lock(m_lock);
    m_position = position;
  }
  if (m_callback) m_callback->OnPlaySample(&sample);
}

UINT CRkClipSourcePlayer::_ThreadProc(void* context, HANDLE stopEvent) {
  SetThreadDescription(GetCurrentThread(), L"RkSourcePlayer");
  return static_cast<CRkClipSourcePlayer*>(context)->_PlayLoop(stopEvent);
}

UINT CRkClipSourcePlayer::_PlayLoop(HANDLE stopEvent) {
  SRun run = _TakeRun();
  if (!run.clip) return 1;
  SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED);
  if (run.isTrimmed) run.clip->SetTrimInfo(run.trimInfo.Get());
  if (m_callback) m_callback->OnPlayStart();
  while (_DeliverToEnd(run, stopEvent) && run.loop) {
    run.counter = 0;
    run.walk.Restart();
  }
  _EndRun(run);
  SetThreadExecutionState(ES_CONTINUOUS);
  return 1;
}

// Leaves the order without a clip, so that no run is taken twice.
CRkClipSourcePlayer::SRun CRkClipSourcePlayer::_TakeRun() {
  CRkScopedLock lock(m_lock);
  return std::move(m_nextRun);
}

// Delivers from the run's position to the end of the clip. False when the first sample cannot be read, and
// when the run is asked to stop.
bool CRkClipSourcePlayer::_DeliverToEnd(SRun& run, HANDLE stopEvent) {
  CRkRef<IRkAVPlaySample> sample;
  if (!run.clip->ReadSampleAt(run.counter, sample.Out()) || !sample) return false;
  while (sample) {
    if (RkWait(stopEvent, m_waits.sampleMs)) return false;
    _Deliver(run, *sample);
    run.clip->ReadNextSample(sample.Out());
  }
  return !RkWait(stopEvent, m_waits.sampleMs);
}

void CRkClipSourcePlayer::_Deliver(SRun& run, IRkAVPlaySample& sample) {
  const UINT source = run.walk.SourceOf(run.counter++);
  sample.SetPosition(source);
  _Show(sample, source);
}

// The host may order the next run as soon as it sees the stopped state.
void CRkClipSourcePlayer::_EndRun(const SRun& run) {
  run.clip->SetTrimInfo(nullptr);
  {
    CRkScopedLock lock(m_lock);
    if (run.number == m_nextRun.number) m_state = RkPlayer_Stopped;
  }
  if (m_callback) m_callback->OnPlayEnd();
}
