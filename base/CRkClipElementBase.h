#pragma once

#include "base/CRkClipPresentation.h"
#include "base/CRkUnknown.h"

class IRkAVPlaySample;

// What every clip element does alike: bookkeeping, and turning offsets into source frames. An element
// adds Open (which ends with SeekTo(0)), Close, and _ReadFrame.
//
// One thread at a time opens, reads and closes; everything else goes to the presentation, which any
// thread may enter.
class CRkClipElementBase : public CRkUnknown<IRkClipElement> {
 public:
  BOOL ReadNextSample(IRkAVPlaySample** sample) override { return ReadSampleAt(m_nextOffset, sample); }
  BOOL ReadSampleAt(UINT offset, IRkAVPlaySample** sample) override {
    SRkPresentedFrame frame;
    if (!m_presentation.FrameAt(offset, &frame)) return FALSE;
    if (!_ReadFrame(frame, m_presentation.PositionOf(offset), sample)) return FALSE;
    m_nextOffset = offset + 1;
    return TRUE;
  }
  void SeekTo(UINT offset) override { m_nextOffset = offset; }

  UINT GetLastPosition() override { return m_presentation.LastPosition(); }
  void SetTimelineStart(UINT position) override { m_presentation.SetTimelineStart(position); }
  UINT GetTimelineStart() override { return m_presentation.GetTimelineStart(); }
  UINT GetFrameCount() override { return m_presentation.PresentedCount(); }
  void SetMode(UINT mode, BOOL* changed) override { m_presentation.SetMode(mode, changed); }
  UINT GetMode() override { return m_presentation.GetMode(); }
  void GetTrimInfo(IRkClipTrimInfo** info) override { m_presentation.GetTrimInfo(info); }
  void SetTrimInfo(IRkClipTrimInfo* info) override { m_presentation.SetTrimInfo(info); }

 protected:
  explicit CRkClipElementBase(UINT sourceFrameCount) : m_presentation(sourceFrameCount) {}

  // The sample of a frame (its source frame below the source's count), carrying the position. FALSE while
  // the element is not open.
  virtual BOOL _ReadFrame(const SRkPresentedFrame& frame, UINT position, IRkAVPlaySample** sample) = 0;

 private:
  CRkClipPresentation m_presentation;
  UINT m_nextOffset = 0;
};
