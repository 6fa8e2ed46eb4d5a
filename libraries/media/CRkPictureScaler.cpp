#include "libraries/media/CRkPictureScaler.h"

#include <algorithm>
#include <cstring>

#include "base/CRkHeapPlayBuffer.h"

extern "C" {
#include <libavutil/imgutils.h>
}

CRkPictureScaler::CRkPictureScaler(const SRkVideoResolution& format, int fit, IRkPlayBufferPool* pool)
    : m_format(format), m_fit(fit), m_pool(CRkRef<IRkPlayBufferPool>::Retain(pool)) {}

CRkRef<IRkVideoSample> CRkPictureScaler::_TakeVideoSample(Planes* planes) {
  CRkRef<IRkVideoSample> video;
  if (!RkCreateVideoSample(video.Out())) return {};
  planes->fill(nullptr);
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    CRkRef<IRkPlayBuffer> buffer;
    if (!RkTakePlayBuffer(m_pool.Get(), RkPlaneLayout(m_format, plane).Bytes(), buffer.Out())) return {};
    (*planes)[plane] = buffer->GetData();
    video->SetBuffer(plane, buffer.Get());
  }
  return video;
}

CRkRef<IRkVideoSample> CRkPictureScaler::Share(IRkVideoSample& video) {
  CRkRef<IRkVideoSample> shared;
  if (!RkCreateVideoSample(shared.Out())) return {};
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    CRkRef<IRkUnknown> buffer;
    video.GetBuffer(plane, buffer.Out());
    shared->SetBuffer(plane, buffer.Get());
  }
  return shared;
}

CRkRef<IRkVideoSample> CRkPictureScaler::Black() {
  Planes planes;
  CRkRef<IRkVideoSample> video = _TakeVideoSample(&planes);
  if (video) _Blacken(planes);
  return video;
}

void CRkPictureScaler::_Blacken(const Planes& planes) const {
  const int luma = m_format.colorRange == RkColorRange_Full ? 0 : 16;
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    std::memset(planes[plane], plane == 0 ? luma : 128, RkPlaneLayout(m_format, plane).Bytes());
  }
}

CRkRef<IRkVideoSample> CRkPictureScaler::Scale(const AVFrame& picture) {
  Planes planes;
  if (!_Prepare(picture)) return {};
  const bool converts = m_conversion.IsBuilt();
  if (converts && !_Convert(picture)) return {};
  CRkRef<IRkVideoSample> video = _TakeVideoSample(&planes);
  if (!video) return {};
  if (m_place.width < m_format.width || m_place.height < m_format.height) _Blacken(planes);
  _Place(converts ? *m_converted : picture, m_place, planes);
  av_frame_unref(m_converted.get());
  return video;
}

// Builds a new conversion where the picture differs in kind from the one before it.
bool CRkPictureScaler::_Prepare(const AVFrame& picture) {
  const SRkPictureKind kind = RkKindOf(picture);
  if (kind == m_kind) return true;
  m_kind = {};
  m_conversion.Reset();
  m_place = RkPlacePicture(kind, m_format, m_fit);
  const bool asItIs = RkHasFormat(kind, m_format) && m_place.IsAllOf(m_format);
  if (!asItIs && !m_conversion.Build(RkConversionChain(kind, m_format, m_place), picture)) return false;
  m_kind = kind;
  return true;
}

bool CRkPictureScaler::_Convert(const AVFrame& picture) {
  if (m_conversion.Put(&picture) && m_conversion.Take(m_converted.get())) return true;
  m_kind = {};
  m_conversion.Reset();
  return false;
}

// Copies the part of the picture that lies in the output to its place there.
void CRkPictureScaler::_Place(const AVFrame& picture, const SRkPicturePlace& place,
                              const Planes& planes) const {
  for (UINT plane = 0; plane < kRkPlaneCount; ++plane) {
    const SRkPlaneLayout layout = RkPlaneLayout(m_format, plane);
    const SRkPlaneLayout part =
        RkPlaneLayout({place.width, place.height, m_format.pixelFormat, 0, 0, 0, 0, 0, 0}, plane);
    const int x = plane != 0 && m_format.pixelFormat != RkPixelFormat_I444 ? place.x / 2 : place.x;
    const int y = plane != 0 && m_format.pixelFormat == RkPixelFormat_I420 ? place.y / 2 : place.y;
    const int left = std::max(x, 0);
    const int top = std::max(y, 0);
    const int stride = picture.linesize[plane];
    av_image_copy_plane(planes[plane] + static_cast<ptrdiff_t>(top) * layout.stride + left, layout.stride,
                        picture.data[plane] + static_cast<ptrdiff_t>(top - y) * stride + (left - x), stride,
                        std::min(x + part.width, layout.width) - left,
                        std::min(y + part.height, layout.height) - top);
  }
}
