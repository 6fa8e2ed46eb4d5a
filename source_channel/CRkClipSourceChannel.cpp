#include "source_channel/CRkClipSourceChannel.h"

#include <algorithm>
#include <new>

#include "base/RkLogLine.h"
#include "source_channel/CRkClipSourceRun.h"

namespace {

constexpr int kWorkerPriority = THREAD_PRIORITY_TIME_CRITICAL;
constexpr DWORD kPreRollTimeoutMs = 1000;
constexpr DWORD kPauseTimeoutMs = 1000;
constexpr DWORD kStopTimeoutMs = 100000;
constexpr DWORD kCloseTimeoutMs = 1000;

int ValidRepeatCount(int repeatCount) {
  return repeatCount == kRkRepeatEndless ? kRkRepeatEndless : std::max(repeatCount, 1);
}

constexpr UINT kEndOfListBit = 1;
constexpr UINT kWhilePausedBit = 2;
constexpr int kRunShift = 2;

// Run numbers wrap where the tag ends.
constexpr UINT NextRun(UINT run) {
  return (run + 1) & (0xFFFFFFFFu >> kRunShift);
}

}  // namespace

LONG SRkSampleTag::Pack() const {
  return static_cast<LONG>((run << kRunShift) | (whilePaused ? kWhilePausedBit : 0) |
                           (endOfList ? kEndOfListBit : 0));
}

SRkSampleTag SRkSampleTag::Unpack(LONG tag) {
  const UINT bits = static_cast<UINT>(tag);
  return {(bits & kEndOfListBit) != 0, (bits & kWhilePausedBit) != 0, bits >> kRunShift};
}

CRkClipSourceChannel::CRkClipSourceChannel(const SRkVideoResolution& resolution,
                                           const SRkWaveFormatInfo& format)
    : m_format{format, resolution} {}

CRkClipSourceChannel::~CRkClipSourceChannel() {
  _ReleaseAll();
}

BOOL CRkClipSourceChannel::_Initialize(UINT preRollCount, UINT cacheCapacity, IRkPlayBufferPool* pool) {
  if (!_CreateObjects(cacheCapacity)) {
    _ReleaseAll();
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipSourceChannel::_Initialize", __LINE__,
                   L"CRkClipSourceChannel::Initialize Failed. Cannot create objects\n");
    return FALSE;
  }
  m_thread->SetOption(FALSE);
  m_thread->Create();
  m_thread->SetThreadProc(&_ThreadProc, this);
  SetPlayBufferPool(pool);
  m_position = 0;
  m_status = RkSourceChannel_Stopped;
  m_preRollCount = preRollCount;
  return TRUE;
}

bool CRkClipSourceChannel::_CreateObjects(UINT cacheCapacity) {
  m_cache = CRkRef<CRkClipSampleCache>::Adopt(new (std::nothrow) CRkClipSampleCache(cacheCapacity));
  return m_cache && m_cache->IsValid() && RkCreateClipElementList(m_list.Out()) &&
         RkCreateWorkerThread(kWorkerPriority, m_thread.Out()) && m_orders.Create();
}

// Copes with whatever was not created.
void CRkClipSourceChannel::_ReleaseAll() {
  Stop();
  if (m_thread) m_thread->Close(kCloseTimeoutMs);
  m_thread.Reset();
  RemoveSampleProcessor();
  m_cache.Reset();
  m_list.Reset();
  m_currentElement.Set({});
  SetPlayBufferPool(nullptr);
}

BOOL CRkClipSourceChannel::Play(UINT startPosition, int repeatCount) {
  RkLogTraceLine(RkLogLevel_Debug, "CRkClipSourceChannel::Play", __LINE__,
                 L"CRkClipSourceChannel::Play initialized now\n");
  const UINT total = m_list->GetTotalFrameCount();
  if (startPosition >= total) return FALSE;

  // Takes back a restart that still waits for a slow read: it would begin as a second run of this number.
  m_thread->RequestStop();
  const int passes = ValidRepeatCount(repeatCount);
  {
    // Position and status are set before the worker starts, so that a quick consumer's are not undone.
    CRkScopedLock lock(m_requestLock);
    m_startPosition = startPosition;
    m_loopCounter = 0;
    m_repeatCount = passes;
    m_run = NextRun(m_run);
    m_position = startPosition;
    m_status = RkSourceChannel_Playing;
  }
  m_cache->Flush();
  m_orders.ResumeForNewRun();
  m_thread->Start();
  m_cache->WaitForCount(kPreRollTimeoutMs, static_cast<LONG>(_PreRollTarget(total, startPosition, passes)));
  return TRUE;
}

// Never waits for more frames than all passes will give.
UINT CRkClipSourceChannel::_PreRollTarget(UINT total, UINT startPosition, int repeatCount) const {
  if (repeatCount == kRkRepeatEndless || total == kRkNoPosition) return m_preRollCount;
  const ULONGLONG frames = static_cast<ULONGLONG>(repeatCount) * total - startPosition;
  return static_cast<UINT>(std::min<ULONGLONG>(m_preRollCount, frames));
}

BOOL CRkClipSourceChannel::Stop() {
  if (m_thread) m_thread->RequestStop();
  {
    // A consumer must not meet what the worker still puts behind the gap that a flush leaves.
    CRkScopedLock lock(m_requestLock);
    m_run = NextRun(m_run);
  }
  // Emptying the cache frees a worker that is blocked on it; what that one still puts goes afterwards.
  if (m_cache) m_cache->Flush();
  if (m_thread) m_thread->WaitForStop(kStopTimeoutMs);
  if (m_cache) m_cache->Flush();
  {
    CRkScopedLock lock(m_requestLock);
    m_position = 0;
    m_status = RkSourceChannel_Stopped;
    m_repeatCount = 1;
    m_loopCounter = 0;
  }
  m_orders.Forget();
  return TRUE;
}

BOOL CRkClipSourceChannel::GetSample(UINT timeoutMs, IRkAVPlaySample** sample) {
  if (sample == nullptr) return FALSE;
  *sample = nullptr;
  const CRkDeadline deadline(timeoutMs);
  do {
    if (_TakeOfThisRun(deadline, sample)) return TRUE;
  } while (deadline.RemainingMs() > 0);  // the cache answers early when a flush met its wait
  return FALSE;
}

bool CRkClipSourceChannel::_TakeOfThisRun(const CRkDeadline& deadline, IRkAVPlaySample** sample) {
  CRkRef<IRkAVPlaySample> taken;
  LONG tag = 0;
  do {
    if (!m_cache->GetSample(deadline.RemainingMs(), taken.Out(), &tag)) return false;
  } while (!_Deliver(taken->GetPosition(), SRkSampleTag::Unpack(tag)));
  *sample = taken.Detach();
  return true;
}

// Records a sample as taken. False for one that an earlier run left behind.
bool CRkClipSourceChannel::_Deliver(UINT position, const SRkSampleTag& tag) {
  CRkScopedLock lock(m_requestLock);
  if (tag.run != m_run) return false;
  m_position = position;
  if (tag.endOfList && !tag.whilePaused) _CountPass();
  const bool finalPass = m_repeatCount != kRkRepeatEndless && m_loopCounter >= m_repeatCount;
  m_status = finalPass && tag.endOfList ? RkSourceChannel_Stopped : RkSourceChannel_Playing;
  return true;
}

void CRkClipSourceChannel::_CountPass() {
  if (m_repeatCount != kRkRepeatEndless && m_loopCounter < m_repeatCount) ++m_loopCounter;
}

void CRkClipSourceChannel::SetRepeatCount(int repeatCount) {
  CRkScopedLock lock(m_requestLock);
  m_repeatCount = ValidRepeatCount(repeatCount);
}

BOOL CRkClipSourceChannel::BeginSeek(UINT mode) {
  m_orders.Pause();
  m_cache->Flush();
  _AwaitPause();
  _SetElementModes(mode);
  return TRUE;
}

// An idle worker has nothing to pause and would not answer.
void CRkClipSourceChannel::_AwaitPause() {
  if (!m_thread->IsIdle()) m_orders.WaitForAcknowledge(kPauseTimeoutMs);
}

BOOL CRkClipSourceChannel::Seek(UINT position, UINT timeoutMs) {
  if (position >= m_list->GetTotalFrameCount()) return FALSE;
  m_orders.RequestPosition(position);
  return timeoutMs == 0 || m_orders.WaitForAcknowledge(timeoutMs) ? TRUE : FALSE;
}

void CRkClipSourceChannel::EndSeek() {
  m_orders.Resume();
}

UINT CRkClipSourceChannel::GetElementMode() {
  CRkRef<IRkClipElement> first;
  m_list->GetFirstElement(first.Out());
  return first ? first->GetMode() : 0;
}

void CRkClipSourceChannel::SetElementMode(UINT mode, UINT position) {
  if (m_list->GetCount() == 0) return;
  const bool changed = _SetElementModes(mode);
  if (!changed && position == kRkNoPosition) return;

  // A running worker moves its element itself, so that nobody moves it under a read.
  const UINT offset = position == kRkNoPosition ? 0 : position;
  const auto current = m_currentElement.Get();
  const bool workerIsIdle = m_thread->IsIdle() != FALSE;
  m_orders.PauseAndMove(current && !workerIsIdle ? offset : kRkNoPosition);
  m_cache->Flush();
  if (current && workerIsIdle) current->SeekTo(offset);
  _AwaitPause();
  m_orders.Resume();
}

// Whether the current element's mode was another.
bool CRkClipSourceChannel::_SetElementModes(UINT mode) {
  const auto current = m_currentElement.Get();
  BOOL changed = FALSE;
  CRkRef<IRkClipElement> element;
  m_list->GetFirstElement(element.Out());
  while (element) {
    element->SetMode(mode, element.Get() == current.Get() ? &changed : nullptr);
    CRkRef<IRkClipElement> next;
    m_list->GetNextElement(element.Get(), next.Out());
    element = std::move(next);
  }
  return changed != FALSE;
}

BOOL CRkClipSourceChannel::SetSampleProcessor(IRkClipSampleProcessor* processor) {
  if (processor == nullptr) return FALSE;
  m_sampleHook.Set(CRkRef<IRkClipSampleProcessor>::Retain(processor));
  return TRUE;
}

void CRkClipSourceChannel::RemoveSampleProcessor() {
  m_sampleHook.Set({});
}

void CRkClipSourceChannel::SetVideoResolution(const SRkVideoResolution& resolution) {
  CRkScopedLock lock(m_settingsLock);
  m_format.video = resolution;
}

void CRkClipSourceChannel::SetWaveFormatInfo(const SRkWaveFormatInfo& format) {
  CRkScopedLock lock(m_settingsLock);
  m_format.audio = format;
}

BOOL CRkClipSourceChannel::SetPlayBufferPool(IRkPlayBufferPool* pool) {
  m_pool.Set(CRkRef<IRkPlayBufferPool>::Retain(pool));
  return pool != nullptr ? TRUE : FALSE;
}

BOOL CRkClipSourceChannel::GetPosition(UINT* position) {
  *position = m_position;
  return TRUE;
}

void CRkClipSourceChannel::GetStatus(UINT* status) {
  *status = m_status;
}

BOOL CRkClipSourceChannel::InsertElement(UINT index, IRkClipElement* element) {
  return m_list->InsertElement(index, element);
}

BOOL CRkClipSourceChannel::ForwardListOperation(UINT index) {
  return m_list->RemoveElement(index);
}

BOOL CRkClipSourceChannel::RemoveAllElements() {
  m_list->RemoveAll();
  return TRUE;
}

int CRkClipSourceChannel::GetElementCount() {
  return m_list->GetCount();
}

BOOL CRkClipSourceChannel::GetElementAtPosition(UINT position, IRkClipElement** element) {
  return m_list->FindElementAtPosition(position, element, nullptr);
}

UINT CRkClipSourceChannel::_ThreadProc(void* context, HANDLE stopEvent) {
  SetThreadDescription(GetCurrentThread(), L"RkSourceChannel");
  return static_cast<CRkClipSourceChannel*>(context)->_ProduceSamples(stopEvent);
}

UINT CRkClipSourceChannel::_ProduceSamples(HANDLE stopEvent) {
  CRkClipSourceRun(*this, stopEvent).Produce();
  return 1;
}

CRkClipSourceChannel::SRunStart CRkClipSourceChannel::_RunStart() {
  CRkScopedLock lock(m_requestLock);
  return {m_startPosition, m_run};
}

SRkClipFormat CRkClipSourceChannel::_Format() {
  CRkScopedLock lock(m_settingsLock);
  return m_format;
}
