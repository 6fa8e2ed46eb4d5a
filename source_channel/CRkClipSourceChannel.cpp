#include "source_channel/CRkClipSourceChannel.h"

#include <algorithm>
#include <new>

#include "base/RkLogLine.h"
#include "base/RkMonotonicTime.h"

namespace {

constexpr int kWorkerPriority = THREAD_PRIORITY_TIME_CRITICAL;

int ValidRepeatCount(int repeatCount) {
  return repeatCount == kRkRepeatEndless ? kRkRepeatEndless : std::max(repeatCount, 1);
}

}  // namespace

CRkClipSourceChannel::CRkClipSourceChannel(const SRkVideoResolution& resolution,
                                           const SRkWaveFormatInfo& format, const SRkChannelWaits& waits)
    : m_waits(waits) {
  m_settings.video.Set(resolution);
  m_settings.audio.Set(format);
}

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
  m_progress.Stop();
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
  if (m_thread) m_thread->Close(m_waits.closeMs);
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

  // Takes back a start that still waits for a slow read to return; it would otherwise run as well.
  m_thread->RequestStop();
  const int passes = ValidRepeatCount(repeatCount);
  // Position and status are set before the worker starts, so that those of a quick consumer stay.
  m_progress.Begin(startPosition, passes);
  m_cache->Flush();
  m_orders.Restart();
  m_thread->Start();
  const UINT target = _PreRollTarget(total, startPosition, passes);
  m_cache->WaitForCount(m_waits.preRollMs, static_cast<LONG>(target));
  return TRUE;
}

// At most the frames from the start to the end of the last pass, counted in 32 bits.
UINT CRkClipSourceChannel::_PreRollTarget(UINT total, UINT startPosition, int repeatCount) const {
  if (repeatCount == kRkRepeatEndless || total == kRkNoPosition) return m_preRollCount;
  return std::min(m_preRollCount, static_cast<UINT>(repeatCount) * total - startPosition);
}

BOOL CRkClipSourceChannel::Stop() {
  if (m_thread) m_thread->RequestStop();
  // The consumer must not get a sample that the worker still queues behind the gap which a flush leaves.
  m_progress.LeaveEpoch();
  // The first flush frees a worker that is blocked on a full cache, the second drops its last sample.
  if (m_cache) m_cache->Flush();
  if (m_thread) m_thread->WaitForStop(m_waits.stopMs);
  if (m_cache) m_cache->Flush();
  m_progress.Stop();
  m_orders.Clear();
  return TRUE;
}

BOOL CRkClipSourceChannel::GetSample(UINT timeoutMs, IRkAVPlaySample** sample) {
  if (sample == nullptr) return FALSE;
  *sample = nullptr;
  const CRkDeadline deadline(timeoutMs);
  CRkRef<IRkAVPlaySample> taken;
  LONG tag = 0;
  do {
    if (!m_cache->GetSample(deadline.RemainingMs(), taken.Out(), &tag)) return FALSE;
  } while (!m_progress.Deliver(taken->GetPosition(), SRkSampleTag::Unpack(tag)));
  *sample = taken.Detach();
  return TRUE;
}

void CRkClipSourceChannel::SetRepeatCount(int repeatCount) {
  m_progress.SetRepeatCount(ValidRepeatCount(repeatCount));
}

BOOL CRkClipSourceChannel::BeginSeek(UINT mode) {
  m_orders.Pause();
  m_cache->Flush();
  _AwaitPause();
  _SetElementModes(mode, nullptr);
  return TRUE;
}

// An idle worker has nothing to pause and would not answer.
void CRkClipSourceChannel::_AwaitPause() {
  if (!m_thread->IsIdle()) m_orders.WaitForAcknowledge(m_waits.pauseMs);
}

BOOL CRkClipSourceChannel::Seek(UINT position, UINT timeoutMs) {
  if (position >= m_list->GetTotalFrameCount()) return FALSE;
  m_orders.RequestPosition(position);
  m_cache->HurryRefill();  // the worker takes the request as soon as there is one place
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
  const auto current = m_currentElement.Get();
  const bool changed = _SetElementModes(mode, current.Get());
  if (!changed && position == kRkNoPosition) return;

  // A running worker moves its element itself, because an element must not be moved under a read.
  const UINT offset = position == kRkNoPosition ? 0 : position;
  const bool workerIsIdle = m_thread->IsIdle() != FALSE;
  m_orders.PauseAndMove(current && !workerIsIdle ? offset : kRkNoPosition);
  m_cache->Flush();
  if (current && workerIsIdle) current->SeekTo(offset);
  _AwaitPause();
  m_orders.Resume();
}

// Gives every element the mode. Returns whether `asked`, which may be null, had another; only that element
// is asked.
bool CRkClipSourceChannel::_SetElementModes(UINT mode, IRkClipElement* asked) {
  BOOL changed = FALSE;
  CRkRef<IRkClipElement> element;
  m_list->GetFirstElement(element.Out());
  while (element) {
    element->SetMode(mode, element.Get() == asked ? &changed : nullptr);
    CRkRef<IRkClipElement> next;
    m_list->GetNextElement(element.Get(), next.Out());
    element = std::move(next);
  }
  return changed != FALSE;
}

BOOL CRkClipSourceChannel::SetSampleProcessor(IRkClipSampleProcessor* processor) {
  if (processor == nullptr) return FALSE;
  m_settings.hook.Set(CRkRef<IRkClipSampleProcessor>::Retain(processor));
  return TRUE;
}

void CRkClipSourceChannel::RemoveSampleProcessor() {
  m_settings.hook.Set({});
}

void CRkClipSourceChannel::SetVideoResolution(const SRkVideoResolution& resolution) {
  m_settings.video.Set(resolution);
}

void CRkClipSourceChannel::SetWaveFormatInfo(const SRkWaveFormatInfo& format) {
  m_settings.audio.Set(format);
}

BOOL CRkClipSourceChannel::SetPlayBufferPool(IRkPlayBufferPool* pool) {
  m_settings.pool.Set(CRkRef<IRkPlayBufferPool>::Retain(pool));
  return pool != nullptr ? TRUE : FALSE;
}

BOOL CRkClipSourceChannel::GetPosition(UINT* position) {
  *position = m_progress.Position();
  return TRUE;
}

void CRkClipSourceChannel::GetStatus(UINT* status) {
  *status = m_progress.Status();
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
  const SRkReaderParts parts = {*m_list,    *m_cache,         m_orders, m_progress,
                                m_settings, m_currentElement, m_waits};
  CRkClipReader(parts, stopEvent).Read();
  return 1;
}
