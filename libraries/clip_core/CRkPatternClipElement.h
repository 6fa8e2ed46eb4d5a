#pragma once

#include "base/CRkClipElementBase.h"
#include "libraries/clip_core/CRkPatternPicture.h"
#include "libraries/clip_core/CRkPatternTone.h"

// A clip without a file: colour bars with the timeline position burnt in, and a tone.
//
// One thread at a time opens, reads and closes it, without a lock. It owns a reference to the pool while it
// is open.
class CRkPatternClipElement final : public CRkClipElementBase {
 public:
  explicit CRkPatternClipElement(UINT frameCount) : CRkClipElementBase(frameCount) {}

 private:
  bool _Open(IRkPlayBufferPool* pool, const SRkClipFormat& format) override;
  void _Close() override;
  BOOL _ReadFrame(const SRkPresentedFrame& frame, UINT position, IRkAVPlaySample** sample) override;

  bool m_isOpen = false;
  bool m_hasAudio = false;
  CRkRef<IRkPlayBufferPool> m_pool;
  CRkPatternPicture m_picture;
  CRkPatternTone m_tone;
};
