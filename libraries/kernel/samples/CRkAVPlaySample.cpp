#include "libraries/kernel/samples/CRkAVPlaySample.h"

#include "base/RkCreateObject.h"
#include "base/RkWithinMemory.h"
#include "libraries/kernel/samples/CRkVideoSample.h"

void CRkAVPlaySample::SetVideoSample(IRkVideoSample* video) {
  m_video = CRkRef<IRkVideoSample>::Retain(video);
}

void CRkAVPlaySample::SetAudioSample(UINT block, IRkAudioSample* audio) {
  if (block > m_audio.size()) return;
  if (audio == nullptr) {
    m_audio.resize(block);
  } else if (block < m_audio.size()) {
    m_audio[block] = CRkRef<IRkAudioSample>::Retain(audio);
  } else {
    RkWithinMemory([&] { m_audio.push_back(CRkRef<IRkAudioSample>::Retain(audio)); });
  }
}

void CRkAVPlaySample::SetAttachment(IRkUnknown* item) {
  m_attachment = CRkRef<IRkUnknown>::Retain(item);
}

void CRkAVPlaySample::GetAudioSample(UINT block, UINT, IRkAudioSample** audio) {
  *audio = nullptr;
  if (block < m_audio.size()) m_audio[block].CopyTo(audio);
}

BOOL CRkAVPlaySample::GetAttachment(UINT, IRkUnknown** item) {
  m_attachment.CopyTo(item);
  return *item != nullptr;
}

void CRkAVPlaySample::CopyTo(IRkAVPlaySample* target) {
  if (target == this) return;
  target->SetPosition(m_position);
  _CopyVideoTo(target);
  target->SetAudioSample(0, nullptr);
  for (UINT block = 0; block < m_audio.size(); ++block) target->SetAudioSample(block, m_audio[block].Get());
  target->SetAttachment(m_attachment.Get());
}

void CRkAVPlaySample::_CopyVideoTo(IRkAVPlaySample* target) {
  if (!m_video) {
    target->SetVideoSample(nullptr);
    return;
  }
  CRkRef<IRkVideoSample> present;
  target->GetVideoSample(present.Out());
  // The count means something only for our own class; a queue may still hold the picture of an earlier use.
  auto* const own = dynamic_cast<CRkVideoSample*>(present.Get());
  const UINT targetAndHere = 2;
  if (own != nullptr && own->UserCount() == targetAndHere) {
    own->CopyFrom(m_video.Get());
    return;
  }
  auto* const fresh = new (std::nothrow) CRkVideoSample;
  if (fresh != nullptr) fresh->CopyFrom(m_video.Get());
  target->SetVideoSample(CRkRef<IRkVideoSample>::Adopt(fresh).Get());
}

void CRkAVPlaySample::Clear() {
  m_position = kRkNoPosition;
  m_audio.clear();
  m_attachment.Reset();
  m_video.Reset();
}

int RkCreateAVPlaySample(IRkAVPlaySample** sample) {
  return RkCreate<CRkAVPlaySample>(sample);
}
