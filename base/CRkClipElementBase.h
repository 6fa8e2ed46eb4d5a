#pragma once

#include <algorithm>

#include "base/CRkClipPresentation.h"
#include "base/CRkTimelineStart.h"
#include "base/CRkUnknown.h"

class IRkAVPlaySample;

// The part that all clip elements share: bookkeeping, and turning offsets into source frames and positions.
// An element adds how it opens, closes, and reads one frame.
//
// Threads: one at a time opens, reads and closes, without a lock; any thread may enter everything else,
// which the presentation guards with its own lock.
class CRkClipElementBase : public CRkUnknown<IRkClipElement> {
 public:
  BOOL Open(IRkPlayBufferPool* pool, UINT, const SRkClipFormat* format) final {
    Close();
    if (format == nullptr) return FALSE;
    m_start.Take();
    m_nextOffset = 0;
    if (_Open(pool, *format)) return TRUE;
    Close();
    return FALSE;
  }
  void Close() final {
    _Close();
    m_start.Drop();
  }

  BOOL ReadNextSample(IRkAVPlaySample** sample) override { return ReadSampleAt(m_nextOffset, sample); }
  BOOL ReadSampleAt(UINT offset, IRkAVPlaySample** sample) override {
    SRkPresentedFrame frame;
    const ULONGLONG position = ULONGLONG{m_start.Get()} + offset;
    if (position > kLastPosition || !m_presentation.FrameAt(offset, &frame)) return FALSE;
    if (!_ReadFrame(frame, static_cast<UINT>(position), sample)) return FALSE;
    m_nextOffset = offset + 1;
    return TRUE;
  }
  void SeekTo(UINT offset) override { m_nextOffset = offset; }

  UINT GetLastPosition() override {
    const ULONGLONG count = m_presentation.PresentedCount();
    if (count == 0) return kRkNoPosition;
    return static_cast<UINT>(std::min(m_start.Get() + count - 1, kLastPosition));
  }
  void SetTimelineStart(UINT position) override { m_start.Offer(position); }
  UINT GetTimelineStart() override { return m_start.Get(); }
  UINT GetFrameCount() override { return m_presentation.PresentedCount(); }
  void SetMode(UINT mode, BOOL* changed) override { m_presentation.SetMode(mode, changed); }
  UINT GetMode() override { return m_presentation.GetMode(); }
  void GetTrimInfo(IRkClipTrimInfo** info) override { m_presentation.GetTrimInfo(info); }
  void SetTrimInfo(IRkClipTrimInfo* info) override {
    m_start.Withdraw();
    m_presentation.SetTrimInfo(info);
  }

 protected:
  explicit CRkClipElementBase(UINT sourceFrameCount) : m_presentation(sourceFrameCount) {}

  // Called on a closed element. After false, _Close is called.
  virtual bool _Open(IRkPlayBufferPool* pool, const SRkClipFormat& format) = 0;
  // Also called on an element that is not open.
  virtual void _Close() = 0;
  // The sample of a frame (its source frame below the source's count), carrying the position. FALSE while
  // the element is not open.
  virtual BOOL _ReadFrame(const SRkPresentedFrame& frame, UINT position, IRkAVPlaySample** sample) = 0;

 private:
  static constexpr ULONGLONG kLastPosition = kRkNoPosition - 1;

  CRkClipPresentation m_presentation;
  CRkTimelineStart m_start;
  UINT m_nextOffset = 0;
};
