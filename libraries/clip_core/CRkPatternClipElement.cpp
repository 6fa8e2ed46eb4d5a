#include "libraries/clip_core/CRkPatternClipElement.h"

#include "base/RkCreateObject.h"
#include "contracts/RkKernel.h"

bool CRkPatternClipElement::_Open(IRkPlayBufferPool* pool, const SRkClipFormat& format) {
  const int rate = format.video.frameRate;
  if (!RkIsFrameRate(rate) || !CRkPatternPicture::IsSupported(format.video)) return false;
  m_hasAudio = format.audio.channels > 0;
  if (m_hasAudio && (!CRkPatternTone::IsSupported(format.audio, rate) || !m_tone.Prepare(format.audio, rate)))
    return false;
  m_pool = CRkRef<IRkPlayBufferPool>::Retain(pool);
  m_isOpen = m_picture.Prepare(format.video);
  return m_isOpen;
}

void CRkPatternClipElement::_Close() {
  m_isOpen = false;
  m_pool.Reset();
  m_picture = {};
  m_tone = {};
}

BOOL CRkPatternClipElement::_ReadFrame(const SRkPresentedFrame&, UINT position, IRkAVPlaySample** sample) {
  if (!m_isOpen) return FALSE;
  CRkRef<IRkAVPlaySample> created;
  CRkRef<IRkVideoSample> picture;
  if (!RkCreateAVPlaySample(created.Out()) || !RkCreateVideoSample(picture.Out())) return FALSE;
  if (!m_picture.Draw(position, m_pool.Get(), picture.Get())) return FALSE;
  created->SetVideoSample(picture.Get());
  if (m_hasAudio) {
    CRkRef<IRkAudioSample> block;
    if (!m_tone.Play(position, block.Out())) return FALSE;
    created->SetAudioSample(0, block.Get());
  }
  created->SetPosition(position);
  *sample = created.Detach();
  return TRUE;
}

int RkCreatePatternClipElement(UINT frameCount, IRkClipElement** element) {
  if (frameCount == 0 || element == nullptr) return 0;
  return RkCreate<CRkPatternClipElement>(element, frameCount);
}
