#pragma once

#include "base/CRkClipElementBase.h"
#include "libraries/clip_core/CRkPatternPicture.h"
#include "libraries/clip_core/CRkPatternTone.h"

// A clip without a file: colour bars under the running number of the timeline position, and a tone.
//
// One thread at a time opens, reads and closes it, without a lock; it holds a reference to the pool from
// Open to Close.
class CRkPatternClipElement final : public CRkClipElementBase {
 public:
  explicit CRkPatternClipElement(UINT frameCount) : CRkClipElementBase(frameCount) {}

  // 0 for a frame rate outside the table, and for a picture or audio that cannot be made.
  BOOL Open(IRkPlayBufferPool* pool, UINT reserved, const SRkClipFormat* format) override;
  void Close() override;

 private:
  BOOL _ReadFrame(const SRkPresentedFrame& frame, UINT position, IRkAVPlaySample** sample) override;

  bool m_isOpen = false;
  bool m_hasAudio = false;
  CRkRef<IRkPlayBufferPool> m_pool;
  CRkPatternPicture m_picture;
  CRkPatternTone m_tone;
};
