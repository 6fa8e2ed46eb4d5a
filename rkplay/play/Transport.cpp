#include "rkplay/play/Transport.h"

namespace rkplay {
namespace {

// A long group of pictures may have to be decoded to reach a frame.
constexpr DWORD kReadTimeoutMs = 5000;
constexpr DWORD kFrameTimeoutMs = 500;  // of one that is there already

}  // namespace

void Transport::ListBegins(UINT frameCount) {
  m_frameCount = frameCount;
  m_isPaused = false;
}

bool Transport::HoldOn(UINT position, CRkRef<IRkAVPlaySample>& sample) {
  _BeginSeek();
  return _Read(position, sample);
}

// Reads the frame before, going round at the beginning: reading goes on behind it.
bool Transport::GoOnFrom(UINT position) {
  _BeginSeek();
  CRkRef<IRkAVPlaySample> before;
  const bool stands = _Read(position != 0 ? position - 1 : m_frameCount - 1, before);
  m_channel.EndSeek();
  m_isPaused = false;
  return stands;
}

void Transport::_BeginSeek() {
  if (!m_isPaused) m_channel.BeginSeek(m_channel.GetElementMode(TRUE));
  m_isPaused = true;
}

// A frame of an earlier request that came too late may still lie in front.
bool Transport::_Read(UINT position, CRkRef<IRkAVPlaySample>& sample) {
  if (!m_channel.Seek(position, kReadTimeoutMs)) return false;
  while (m_channel.GetSample(kFrameTimeoutMs, sample.Out())) {
    if (sample->GetPosition() == position) return true;
  }
  return false;
}

}  // namespace rkplay
