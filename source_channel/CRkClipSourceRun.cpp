#include "source_channel/CRkClipSourceRun.h"

namespace {

// Held back by this much before every frame, the worker leaves the processor to others.
constexpr DWORD kFrameWaitMs = 1;

}  // namespace

CRkClipSourceRun::CRkClipSourceRun(CRkClipSourceChannel& channel, HANDLE stopEvent)
    : m_channel(channel), m_stopEvent(stopEvent), m_start(channel._RunStart()) {
  LARGE_INTEGER frequency = {};
  QueryPerformanceFrequency(&frequency);
  m_counterFrequency = frequency.QuadPart;
}

void CRkClipSourceRun::Produce() {
  _FindStart();
  if (_StopRequested(kFrameWaitMs)) return;
  while (m_element) {
    if (_OpenElement()) {
      const ELeft left = _ReadElement();
      if (m_element) m_element->Close();
      if (left == ELeft::OnStop) return;
    }
    if (!_MoveOn()) return;
  }
  _StopRequested(INFINITE);  // nothing left to play: the list is not asked again
}

void CRkClipSourceRun::_FindStart() {
  m_offset = m_start.position;
  m_channel.m_list->FindElementAtPosition(m_start.position, m_element.Out(), &m_offset);
}

// On success the element is the channel's current one.
bool CRkClipSourceRun::_OpenElement() {
  const SRkClipFormat format = m_channel._Format();
  const auto pool = m_channel.m_pool.Get();
  if (!m_element->Open(pool.Get(), 0, &format)) return false;
  m_channel.m_currentElement.Set(m_element);
  return true;
}

// The frame loop, from the carried offset on. Without an element (the one asked for could not be opened)
// it goes on serving orders.
CRkClipSourceRun::ELeft CRkClipSourceRun::_ReadElement() {
  if (m_offset != 0) m_element->SeekTo(m_offset);
  while (!_StopRequested(kFrameWaitMs)) {
    const SRkWorkerOrders orders = m_channel.m_orders.Take();
    _BeginPauseOrMove(orders);
    if (orders.paused || orders.position != kRkNoPosition) {
      _Serve(orders);
    } else if (m_element && !_ReadNext() && !_StartOver()) {
      return ELeft::AtEnd;
    }
  }
  return ELeft::OnStop;
}

bool CRkClipSourceRun::_ReadNext() {
  CRkRef<IRkAVPlaySample> sample;
  if (!m_element->ReadNextSample(sample.Out()) || !sample) return false;
  _Queue(*sample, false);
  return true;
}

// A list of this one element repeats without closing it.
bool CRkClipSourceRun::_StartOver() {
  if (m_channel.m_list->GetCount() != 1 || m_channel.m_list->IndexOf(m_element.Get()) != 0) return false;
  m_offset = 0;
  m_element->SeekTo(0);
  return true;
}

// To the next element, or the first again after the last; to none when the list has been emptied. False
// when the stop event is set.
bool CRkClipSourceRun::_MoveOn() {
  CRkRef<IRkClipElement> next;
  m_channel.m_list->GetNextElement(m_element.Get(), next.Out());
  if (!next) m_channel.m_list->GetFirstElement(next.Out());
  m_element = std::move(next);
  m_offset = 0;
  return !_StopRequested(0);
}

// After this the cache holds nothing that was read before the order, also when a frame was on its way to
// the cache while the control thread emptied it.
void CRkClipSourceRun::_BeginPauseOrMove(const SRkWorkerOrders& orders) {
  const bool move = orders.moveToOffset != kRkNoPosition;
  if (orders.pauseBegun || move) m_channel.m_cache->Flush();
  if (move && m_element) m_element->SeekTo(orders.moveToOffset);
}

void CRkClipSourceRun::_Serve(const SRkWorkerOrders& orders) {
  // A pause is answered when it has begun, a request made during play when it is taken; one made while
  // paused only when its frame is in the cache.
  const bool positionWanted = orders.position != kRkNoPosition;
  const bool answeredNow = positionWanted ? !orders.paused : orders.pauseBegun;
  if (answeredNow) m_channel.m_orders.Acknowledge(orders.ticket);
  if (!positionWanted || !_ServePosition(orders)) m_lastPositioned.reset();
}

bool CRkClipSourceRun::_ServePosition(const SRkWorkerOrders& orders) {
  if (!_GoToElementAt(orders.position)) return false;
  CRkRef<IRkAVPlaySample> sample;
  if (!m_element->ReadSampleAt(m_offset, sample.Out()) || !sample) return false;
  _Queue(*sample, orders.paused);
  if (sample->GetPosition() == orders.position) m_channel.m_orders.Acknowledge(orders.ticket);
  sample.Reset();
  _ReportInterval();
  return true;
}

// False leaves the worker with the element it had, or, when the new one cannot be opened, with none until
// another position is asked for.
bool CRkClipSourceRun::_GoToElementAt(UINT position) {
  CRkRef<IRkClipElement> element;
  UINT offset = 0;
  if (!m_channel.m_list->FindElementAtPosition(position, element.Out(), &offset) || !element) return false;
  m_offset = offset;
  if (element.Get() == m_element.Get()) return true;
  if (m_element) m_element->Close();
  m_element = std::move(element);
  if (_OpenElement()) return true;
  m_element.Reset();
  return false;
}

void CRkClipSourceRun::_ReportInterval() {
  LARGE_INTEGER now = {};
  QueryPerformanceCounter(&now);
  const LONGLONG seconds = m_lastPositioned ? (now.QuadPart - *m_lastPositioned) / m_counterFrequency : 0;
  if (const auto hook = m_channel.m_sampleHook.Get()) hook->ReportSeekInterval(static_cast<UINT>(seconds));
  m_lastPositioned = now.QuadPart;
}

// The hook sees the sample just before it is cached; the stop event ends a wait for room. A frame that was
// read while the control thread gave up waiting for its pause to begin is not delivered after it.
void CRkClipSourceRun::_Queue(IRkAVPlaySample& sample, bool whilePaused) {
  const SRkSampleTag tag = {_IsEndOfList(sample), whilePaused, m_start.number};
  if (const auto hook = m_channel.m_sampleHook.Get()) {
    const auto pool = m_channel.m_pool.Get();
    hook->ProcessSample(&sample, pool.Get());
  }
  if (!m_channel.m_orders.AreNewer()) m_channel.m_cache->PutSample(&sample, tag.Pack(), m_stopEvent);
}

// An element that has been taken out of the list meanwhile is not its last.
bool CRkClipSourceRun::_IsEndOfList(IRkAVPlaySample& sample) {
  const int index = m_channel.m_list->IndexOf(m_element.Get());
  return index >= 0 && index + 1 == m_channel.m_list->GetCount() &&
         sample.GetPosition() == m_element->GetLastPosition();
}
