#pragma once

#include <array>

#include "base/CRkPoolElement.h"
#include "base/CRkRef.h"

// A picture: references to its planes, and the index it is shown under. Planes are never written through
// it, so samples share them. One thread at a time uses it; references may be dropped on any thread.
class CRkVideoSample : public CRkPoolElement<IRkVideoSample> {
 public:
  static constexpr UINT kBufferCount = 4;

  CRkVideoSample() = default;

  BOOL GetBuffer(UINT index, IRkUnknown** buffer) override;
  UINT GetFrameIndex() override { return m_frameIndex; }
  void SetBuffer(UINT index, IRkUnknown* buffer) override;
  void SetFrameIndex(UINT index) override { m_frameIndex = index; }

  // Takes the index of any video sample and shares its planes.
  void CopyFrom(IRkVideoSample* source);
  // Releases the planes and forgets the index.
  void Clear();

 protected:
  ~CRkVideoSample() override = default;

 private:
  std::array<CRkRef<IRkUnknown>, kBufferCount> m_buffers;
  UINT m_frameIndex = kRkNoPosition;
};
