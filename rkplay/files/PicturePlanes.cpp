#include "rkplay/files/PicturePlanes.h"

#include "contracts/RkHost.h"

namespace rkplay {

PicturePlanes::PicturePlanes(IRkVideoSample& picture, const SRkVideoResolution& format) {
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    picture.GetBuffer(plane, m_held[plane].Out());
    auto* buffer = dynamic_cast<IRkPlayBuffer*>(m_held[plane].Get());
    if (buffer == nullptr || buffer->GetCapacity() < RkPlaneLayout(format, plane).Bytes()) return;
    m_rows[plane] = buffer->GetData();
  }
}

PicturePlanes::PicturePlanes(const BYTE* memory, const SRkVideoResolution& format) {
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    m_rows[plane] = memory;
    memory += RkPlaneLayout(format, plane).Bytes();
  }
}

}  // namespace rkplay
