#include "source_channel/CRkClipReader.h"

#include <algorithm>
#include <utility>

#include "base/RkLogLine.h"
#include "base/RkMonotonicTime.h"

namespace {

constexpr LONGLONG kMostFreeFrames = 100;  // keeps a burst after a long hold short
// A full cache is refilled when a quarter of it is free, at most this many places.
constexpr UINT kMostPlaces = 8;

}  // namespace

CRkClipReader::CRkClipReader(const SRkReaderParts& parts, HANDLE stopEvent)
    : m_parts(parts),
      m_stopEvent(stopEvent),
      m_refillPlaces(std::min(parts.cache.Capacity() / 4, kMostPlaces)),
      m_start(parts.progress.Start()) {}

void CRkClipReader::Read() {
  _FindStart();
  if (_StopRequested(m_parts.waits.frameMs)) return;
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

void CRkClipReader::_FindStart() {
  m_offset = m_start.position;
  m_pass.isWhole = m_start.position == 0;
  m_parts.list.FindElementAtPosition(m_start.position, m_element.Out(), &m_offset);
}

// On success the element is the channel's current one.
bool CRkClipReader::_OpenElement() {
  const SRkClipFormat format = {m_parts.settings.audio.Get(), m_parts.settings.video.Get()};
  const auto pool = m_parts.settings.pool.Get();
  if (!m_element->Open(pool.Get(), 0, &format)) return false;
  m_parts.currentElement.Set(m_element);
  return true;
}

// The frame loop, from the carried offset on. Without an element (a requested one could not be opened) it
// goes on serving orders.
CRkClipReader::ELeft CRkClipReader::_ReadElement() {
  if (m_offset != 0) m_element->SeekTo(m_offset);
  while (!_StopRequested(_FrameWaitMs())) {
    const SRkFrameOrder order = m_parts.orders.Take();
    _BeginPauseOrMove(order);
    if (order.paused) m_freeFrames = 0;
    if (order.paused || order.position != kRkNoPosition) {
      _Serve(order);
    } else if (m_element && !_ReadNext() && !_StartOver()) {
      return ELeft::AtEnd;
    }
  }
  return ELeft::OnStop;
}

// Before each frame the reader leaves the processor to others. A put that a full cache held back has done so
// already, and pays for one frame a millisecond.
DWORD CRkClipReader::_FrameWaitMs() {
  if (m_freeFrames == 0) return m_parts.waits.frameMs;
  --m_freeFrames;
  return 0;
}

bool CRkClipReader::_ReadNext() {
  CRkRef<IRkAVPlaySample> sample;
  if (!m_element->ReadNextSample(sample.Out()) || !sample) return false;
  _Queue(*sample, false);
  return true;
}

// A list of this one element repeats without closing it.
bool CRkClipReader::_StartOver() {
  if (m_parts.list.GetCount() != 1 || m_parts.list.IndexOf(m_element.Get()) != 0) return false;
  m_offset = 0;
  m_element->SeekTo(0);
  _EndPass();
  return true;
}

// To the next element, or the first again after the last; to none when the list has been emptied. False
// when the stop event is set.
bool CRkClipReader::_MoveOn() {
  const bool isInList = m_parts.list.IndexOf(m_element.Get()) >= 0;
  CRkRef<IRkClipElement> next;
  m_parts.list.GetNextElement(m_element.Get(), next.Out());
  if (!next) {
    m_parts.list.GetFirstElement(next.Out());
    m_isFruitless = !m_pass.hasFrame;
    if (next && isInList) _EndPass();
  }
  m_element = std::move(next);
  m_offset = 0;
  // Elements of a list that gives nothing are tried no faster than frames are read.
  return !_StopRequested(m_isFruitless ? m_parts.waits.frameMs.load() : 0);
}

// The list starts over. A pass that a request moved and that gave no frame since is not counted.
void CRkClipReader::_EndPass() {
  if (!m_pass.hasFrame) m_freeFrames = 0;
  if (!m_pass.hasEnded && (m_pass.hasFrame || m_pass.isWhole)) _MarkPassEnd(!m_pass.hasFrame);
  m_pass = {.isWhole = true};
  m_isOddPass = !m_isOddPass;
}

void CRkClipReader::_MarkPassEnd(bool nothingMore) {
  if (nothingMore && !std::exchange(m_hasLoggedNothing, true)) {
    RkLogTraceLine(RkLogLevel_Debug, "CRkClipSourceChannel::_ProduceSamples", __LINE__,
                   L"CRkClipSourceChannel: no element of the list gives a frame\n");
  }
  SRkSampleTag end = {.endOfList = true, .nothingMore = nothingMore};
  if (m_parts.cache.MarkNewest(end.Pack())) return;
  end.oddPass = m_isOddPass;
  end.epoch = m_start.epoch;
  // The consumer has the pass's last sample already and may wait for more: no sample of the next pass has
  // been queued yet.
  if (m_parts.progress.EndPass(end)) m_parts.cache.Interrupt();
}

// After this the cache holds nothing that was read before the order, also when a frame was on its way to
// the cache while the control thread emptied it.
void CRkClipReader::_BeginPauseOrMove(const SRkFrameOrder& order) {
  const bool moves = order.moveToOffset != kRkNoPosition;
  if (order.pauseBegun || moves) m_parts.cache.Flush();
  if (moves && m_element) m_element->SeekTo(order.moveToOffset);
  if (order.pauseBegun || moves || order.position != kRkNoPosition) m_pass = {};
}

void CRkClipReader::_Serve(const SRkFrameOrder& order) {
  // A pause is acknowledged when it has begun, a request during play when it is taken, and a request while
  // paused only when its frame is in the cache.
  const bool positionWanted = order.position != kRkNoPosition;
  const bool acknowledgesNow = positionWanted ? !order.paused : order.pauseBegun;
  if (acknowledgesNow) m_parts.orders.Acknowledge(order.ticket);
  if (!positionWanted || !_ServePosition(order)) m_lastPositioned.reset();
}

bool CRkClipReader::_ServePosition(const SRkFrameOrder& order) {
  if (!_GoToElementAt(order.position)) return false;
  CRkRef<IRkAVPlaySample> sample;
  if (!m_element->ReadSampleAt(m_offset, sample.Out()) || !sample) return false;
  _Queue(*sample, order.paused);
  if (sample->GetPosition() == order.position) m_parts.orders.Acknowledge(order.ticket);
  sample.Reset();
  _ReportInterval();
  return true;
}

// False leaves the reader with the element it had, or, when the new one cannot be opened, with none until
// another position is requested.
bool CRkClipReader::_GoToElementAt(UINT position) {
  CRkRef<IRkClipElement> element;
  UINT offset = 0;
  if (!m_parts.list.FindElementAtPosition(position, element.Out(), &offset) || !element) return false;
  m_offset = offset;
  if (element.Get() == m_element.Get()) return true;
  if (m_element) m_element->Close();
  m_element = std::move(element);
  if (_OpenElement()) return true;
  m_element.Reset();
  return false;
}

void CRkClipReader::_ReportInterval() {
  const LONGLONG now = RkMonotonicNow();
  const LONGLONG sinceMs = m_lastPositioned ? (now - *m_lastPositioned) / 1'000'000 : 0;
  const LONGLONG seconds = sinceMs / m_parts.waits.seekUnitMs;
  if (const auto hook = m_parts.settings.hook.Get()) hook->ReportSeekInterval(static_cast<UINT>(seconds));
  m_lastPositioned = now;
}

// The hook sees the sample just before it is cached; the stop event ends a wait for room. A frame whose
// read outlasted the control thread's wait for a pause is dropped.
void CRkClipReader::_Queue(IRkAVPlaySample& sample, bool whilePaused) {
  const SRkSampleTag tag = {_IsEndOfList(sample), false, whilePaused, m_isOddPass, m_start.epoch};
  if (const auto hook = m_parts.settings.hook.Get()) {
    const auto pool = m_parts.settings.pool.Get();
    hook->ProcessSample(&sample, pool.Get());
  }
  if (m_parts.orders.DiscardsFrame()) return;
  const LONGLONG putBegin = RkMonotonicNow();
  if (!whilePaused && m_refillPlaces > 1) m_parts.cache.WaitForRoom(m_refillPlaces, m_stopEvent);
  m_parts.cache.PutSample(&sample, tag.Pack(), m_stopEvent);
  const LONGLONG heldMs = (RkMonotonicNow() - putBegin) / 1'000'000;
  if (heldMs > 0) m_freeFrames = static_cast<UINT>(std::min(heldMs, kMostFreeFrames));
  if (whilePaused) return;
  m_pass.hasFrame = true;
  m_isFruitless = false;
  if (tag.endOfList) m_pass.hasEnded = true;
}

// An element that has been taken out of the list meanwhile is not its last.
bool CRkClipReader::_IsEndOfList(IRkAVPlaySample& sample) {
  const int index = m_parts.list.IndexOf(m_element.Get());
  return index >= 0 && index + 1 == m_parts.list.GetCount() &&
         sample.GetPosition() == m_element->GetLastPosition();
}
