#pragma once

#include <array>

#include "base/CRkRef.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"
#include "contracts/RkPictureLayout.h"
#include "libraries/media/CRkFilterGraph.h"
#include "libraries/media/RkPictureConversion.h"

// Puts decoded pictures into play buffers of one format. A picture that has the format is copied row by
// row, to the bit. Any other is converted to the range of the format and the colour matrix of its size, and
// fitted into its shape. One thread at a time.
class CRkPictureScaler {
 public:
  // `fit`: an ERkFit. The pool may be null: buffers come from the heap then.
  CRkPictureScaler(const SRkVideoResolution& format, int fit, IRkPlayBufferPool* pool);

  // A video sample with buffers of its own. Null when there is no memory or no way to convert.
  CRkRef<IRkVideoSample> Scale(const AVFrame& picture);
  CRkRef<IRkVideoSample> Black();
  // Another video sample with the same buffers.
  static CRkRef<IRkVideoSample> Share(IRkVideoSample& video);

 private:
  using Planes = std::array<BYTE*, 4>;

  CRkRef<IRkVideoSample> _TakeVideoSample(Planes* planes);
  void _Blacken(const Planes& planes) const;
  bool _Prepare(const AVFrame& picture);
  bool _Convert(const AVFrame& picture);
  void _Place(const AVFrame& picture, const SRkPicturePlace& place, const Planes& planes) const;

  const SRkVideoResolution m_format;
  const int m_fit;
  const CRkRef<IRkPlayBufferPool> m_pool;
  // The conversion of pictures like m_kind; none for those that are copied.
  SRkPictureKind m_kind;
  SRkPicturePlace m_place{};
  CRkFilterGraph m_conversion;
  CRkAv<AVFrame> m_converted{av_frame_alloc()};
};
