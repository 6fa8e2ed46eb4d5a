#include "rkplay/clips/SlotElement.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/CRkAudioLock.h"
#include "base/CRkHeapPlayBuffer.h"
#include "base/RkWithinMemory.h"
#include "contracts/RkAVUtils.h"
#include "contracts/RkPictureLayout.h"

namespace rkplay {
namespace {

constexpr char kHangs[] = "reading it hangs";
constexpr char kEndsEarly[] = "it ends early";

CRkRef<IRkVideoSample> SamePicture(IRkVideoSample& picture) {
  CRkRef<IRkVideoSample> same;
  if (!RkCreateVideoSample(same.Out())) return {};
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    CRkRef<IRkUnknown> buffer;
    picture.GetBuffer(plane, buffer.Out());
    same->SetBuffer(plane, buffer.Get());
  }
  return same;
}

CRkRef<IRkVideoSample> BlackPicture(const SRkVideoResolution& video, IRkPlayBufferPool* pool) {
  CRkRef<IRkVideoSample> black;
  if (!RkCreateVideoSample(black.Out())) return {};
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    const UINT bytes = RkPlaneLayout(video, plane).Bytes();
    const int darkest = video.colorRange == RkColorRange_Full ? 0 : 16;
    CRkRef<IRkPlayBuffer> buffer;
    if (!RkTakePlayBuffer(pool, bytes, buffer.Out())) return {};
    std::memset(buffer->GetData(), plane == 0 ? darkest : 128, bytes);
    black->SetBuffer(plane, buffer.Get());
  }
  return black;
}

CRkRef<IRkAudioSample> Silence(const SRkClipFormat& format, UINT position) {
  const auto rate = static_cast<ERkFrameRate>(format.video.frameRate);
  const auto count = static_cast<DWORD>(
      RkAudioUtils::GetAudioSampleCounts(format.audio.samplesPerSecond, rate, position, 1));
  CRkRef<IRkAudioSample> silence;
  // Room for the sample that a join may repeat.
  if (!RkCreateUserAudioSample(format.audio, nullptr, count + 1, silence.Out())) return {};
  silence->SetSampleCount(count);
  const CRkAudioLock lock(*silence);
  RkAudioUtils::SilientAudioBuffer(format.audio, lock.Data(), count);
  return silence;
}

}  // namespace

SlotElement::SlotElement(std::string path, const CRkRef<IRkClipElement>& clip,
                         const CRkRef<ReadReport>& report, DWORD patienceMs)
    : m_path(std::move(path)), m_clip(clip), m_reader(m_path, clip, report, patienceMs) {}

BOOL SlotElement::Open(IRkPlayBufferPool* pool, UINT reserved, const SRkClipFormat* format) {
  (void)reserved;
  if (format == nullptr || !RkIsFrameRate(format->video.frameRate)) return FALSE;
  Close();
  m_start.Take();
  m_format = *format;
  m_pool = CRkRef<IRkPlayBufferPool>::Retain(pool);
  m_clipMayOpen = true;
  m_isOpen = RkWithinMemory([this] { _OpenClip(); }) && (m_clipIsOpen || _HasEnd());
  SeekTo(0);
  return m_isOpen ? TRUE : FALSE;
}

// Is tried again while an earlier call hangs, and once it has returned.
bool SlotElement::_OpenClip() {
  if (m_clipIsOpen || !m_clipMayOpen) return m_clipIsOpen;
  if (!m_reader.IsFree()) {
    _SetFault(kHangs);
    return false;
  }
  const auto answer =
      m_reader.Ask({ClipReader::Request::Kind::Open, 0, GetTimelineStart(), m_format, m_pool});
  m_clipIsOpen = answer && answer->succeeded;
  m_clipMayOpen = !answer;
  if (!m_clipIsOpen) _SetFault(answer ? answer->fault : kHangs);
  return m_clipIsOpen;
}

BOOL SlotElement::ReadSampleAt(UINT offset, IRkAVPlaySample** sample) {
  if (!m_isOpen || offset >= GetFrameCount() || offset >= kRkNoPosition - GetTimelineStart()) return FALSE;
  CRkRef<IRkAVPlaySample> read;
  if (!RkWithinMemory([&] {
        read = _Read(offset);
        if (!read && _HasEnd()) read = _MakeSubstitute(offset);
      }) ||
      !read) {
    return FALSE;
  }
  m_nextOffset = offset + 1;
  *sample = read.Detach();
  return TRUE;
}

// Null, with the fault set, when the clip gives no sample.
CRkRef<IRkAVPlaySample> SlotElement::_Read(UINT offset) {
  if (!_OpenClip()) return {};
  if (!m_reader.IsFree()) return {};  // hangs since an earlier frame
  auto answer = m_reader.Ask({ClipReader::Request::Kind::Read, offset, 0, {}, {}});
  if (!answer || !answer->succeeded) {
    _SetFault(answer ? kEndsEarly : kHangs);
    return {};
  }
  answer->sample->GetVideoSample(m_lastPicture.Out());
  if (!answer->fault.empty()) {
    _SetFault(answer->fault);
    answer->sample->SetAttachment(m_fault.Get());
  }
  return answer->sample;
}

CRkRef<IRkAVPlaySample> SlotElement::_MakeSubstitute(UINT offset) {
  const UINT position = GetTimelineStart() + offset;
  CRkRef<IRkAVPlaySample> created;
  if (!m_lastPicture) m_lastPicture = BlackPicture(m_format.video, m_pool.Get());
  if (!m_lastPicture || !RkCreateAVPlaySample(created.Out())) return {};
  const auto picture = SamePicture(*m_lastPicture);
  if (!picture) return {};
  created->SetPosition(position);
  created->SetVideoSample(picture.Get());
  created->SetAttachment(m_fault.Get());
  if (m_format.audio.channels <= 0) return created;
  const auto silence = Silence(m_format, position);
  if (!silence) return {};
  created->SetAudioSample(0, silence.Get());
  return created;
}

void SlotElement::_SetFault(const std::string& reason) {
  if (m_fault && m_fault->reason == reason) return;
  m_fault = CRkRef<FrameFault>::Adopt(new FrameFault(m_path, reason));
}

void SlotElement::Close() {
  if (m_clipIsOpen && m_reader.IsFree()) m_reader.Ask({});
  m_isOpen = m_clipIsOpen = m_clipMayOpen = false;
  m_lastPicture.Reset();
  m_fault.Reset();
  m_pool.Reset();
  m_start.Drop();
}

UINT SlotElement::GetLastPosition() {
  const ULONGLONG count = GetFrameCount();
  if (count == 0) return kRkNoPosition;
  return static_cast<UINT>(std::min<ULONGLONG>(GetTimelineStart() + count - 1, kRkNoPosition - 1));
}

}  // namespace rkplay
