#include "libraries/kernel/samples/CRkVideoSample.h"

#include "base/RkCreateObject.h"

BOOL CRkVideoSample::GetBuffer(UINT index, IRkUnknown** buffer) {
  *buffer = nullptr;
  if (index >= kBufferCount) return FALSE;
  m_buffers[index].CopyTo(buffer);
  return *buffer != nullptr;
}

void CRkVideoSample::SetBuffer(UINT index, IRkUnknown* buffer) {
  if (index < kBufferCount) m_buffers[index] = CRkRef<IRkUnknown>::Retain(buffer);
}

void CRkVideoSample::CopyFrom(IRkVideoSample* source) {
  for (UINT index = 0; index < kBufferCount; ++index) {
    if (!source->GetBuffer(index, m_buffers[index].Out())) m_buffers[index].Reset();
  }
  m_frameIndex = source->GetFrameIndex();
}

void CRkVideoSample::Clear() {
  for (auto& buffer : m_buffers) buffer.Reset();
  m_frameIndex = kRkNoPosition;
}

int RkCreateVideoSample(IRkVideoSample** video) {
  return RkCreate<CRkVideoSample>(video);
}
