#pragma once

#include <string>

#include "base/CRkTimelineStart.h"
#include "base/CRkUnknown.h"
#include "rkplay/clips/ClipReader.h"
#include "rkplay/clips/FrameFault.h"

namespace rkplay {

// A media element that always fills its slot: a frame that its clip does not give, because the file has
// vanished, does not open, hangs or ends early, is the last good picture (black before the first) with
// silence. Such frames, and those that the media element replaces itself, carry a FrameFault.
//
// Threads as for any element: one at a time opens, reads and closes. The clip itself is read on the
// reader's thread. A clip without an end passes through, its failure to open and its end included.
class SlotElement final : public CRkUnknown<IRkClipElement> {
 public:
  // `report` is the sink that the clip was created with.
  SlotElement(std::string path, const CRkRef<IRkClipElement>& clip, const CRkRef<ReadReport>& report,
              DWORD patienceMs);

  BOOL Open(IRkPlayBufferPool* pool, UINT reserved, const SRkClipFormat* format) override;
  BOOL ReadNextSample(IRkAVPlaySample** sample) override { return ReadSampleAt(m_nextOffset, sample); }
  BOOL ReadSampleAt(UINT offset, IRkAVPlaySample** sample) override;
  void SeekTo(UINT offset) override { m_nextOffset = offset; }
  void Close() override;

  UINT GetLastPosition() override;
  void SetTimelineStart(UINT position) override { m_start.Offer(position); }
  UINT GetTimelineStart() override { return m_start.Get(); }
  UINT GetFrameCount() override { return m_clip->GetFrameCount(); }
  void SetMode(UINT mode, BOOL* changed) override { m_clip->SetMode(mode, changed); }
  UINT GetMode() override { return m_clip->GetMode(); }
  void GetTrimInfo(IRkClipTrimInfo** info) override { m_clip->GetTrimInfo(info); }
  void SetTrimInfo(IRkClipTrimInfo* info) override {
    m_start.Withdraw();
    m_clip->SetTrimInfo(info);
  }

 private:
  ~SlotElement() override = default;

  bool _HasEnd() { return m_clip->GetFrameCount() != kRkNoPosition; }
  bool _OpenClip();
  CRkRef<IRkAVPlaySample> _Read(UINT offset);
  CRkRef<IRkAVPlaySample> _MakeSubstitute(UINT offset);
  void _SetFault(const std::string& reason);

  const std::string m_path;
  const CRkRef<IRkClipElement> m_clip;
  ClipReader m_reader;
  CRkTimelineStart m_start;

  // While open.
  SRkClipFormat m_format{};
  CRkRef<IRkPlayBufferPool> m_pool;
  bool m_isOpen = false;
  bool m_clipIsOpen = false;
  bool m_clipMayOpen = false;
  UINT m_nextOffset = 0;
  CRkRef<IRkVideoSample> m_lastPicture;
  CRkRef<FrameFault> m_fault;  // of the last frame that had one
};

}  // namespace rkplay
