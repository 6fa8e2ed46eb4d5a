#pragma once

#include <vector>

#include "base/CRkPoolElement.h"
#include "base/CRkRef.h"
#include "contracts/RkKernel.h"

// One frame of a clip on its way to the output. Holds references to its parts. One thread at a time uses it;
// it passes between threads by reference.
class CRkAVPlaySample : public CRkLentObject<IRkAVPlaySample> {
 public:
  CRkAVPlaySample() = default;

  UINT GetPosition() override { return m_position; }
  void SetPosition(UINT position) override { m_position = position; }
  void GetVideoSample(IRkVideoSample** video) override { m_video.CopyTo(video); }
  void SetVideoSample(IRkVideoSample* video) override;
  // Ignores a block past the next free place, and one for which there is no memory.
  void SetAudioSample(UINT block, IRkAudioSample* audio) override;
  void SetAttachment(IRkUnknown* item) override;
  void GetAudioSample(UINT block, UINT reserved, IRkAudioSample** audio) override;
  BOOL GetAttachment(UINT reserved, IRkUnknown** item) override;
  // The target gets a video sample of its own, so that stamping the copy leaves the source alone: its
  // present one where that is ours and held by nobody else, otherwise a new one (none without memory).
  void CopyTo(IRkAVPlaySample* target) override;

  // Releases everything, as after construction.
  void Clear();

 protected:
  ~CRkAVPlaySample() override = default;

 private:
  void _GiveBack(IRkPoolElementOwner& owner) override { owner.GiveBackPlaySample(this); }
  void _CopyVideoTo(IRkAVPlaySample* target);

  CRkRef<IRkVideoSample> m_video;
  CRkRef<IRkUnknown> m_attachment;
  std::vector<CRkRef<IRkAudioSample>> m_audio;
  UINT m_position = kRkNoPosition;
};
