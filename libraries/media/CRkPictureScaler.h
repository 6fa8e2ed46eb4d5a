#pragma once

#include <array>

#include "base/CRkRef.h"
#include "contracts/RkHost.h"
#include "contracts/RkKernel.h"
#include "contracts/RkPictureLayout.h"
#include "libraries/media/RkAv.h"

bool RkIsFullRange(const AVFrame& picture);

// Puts decoded pictures into play buffers of one format. A picture that has the format is copied row by
// row, to the bit; any other is scaled and converted. One thread at a time.
class CRkPictureScaler {
 public:
  CRkPictureScaler(const SRkVideoResolution& format, IRkPlayBufferPool* pool);

  // A video sample with buffers of its own. Null when there is no memory or no way to convert.
  CRkRef<IRkVideoSample> Scale(const AVFrame& picture);
  CRkRef<IRkVideoSample> Black();
  // Another video sample with the same buffers.
  static CRkRef<IRkVideoSample> Share(IRkVideoSample& video);

 private:
  using Planes = std::array<BYTE*, 4>;

  CRkRef<IRkVideoSample> _TakeVideoSample(Planes* planes);
  bool _HasFormat(const AVFrame& picture) const;
  void _Copy(const AVFrame& picture, const Planes& planes) const;
  bool _Convert(const AVFrame& picture, const Planes& planes);
  bool _PrepareConversion(const AVFrame& picture);

  const SRkVideoResolution m_format;
  const CRkRef<IRkPlayBufferPool> m_pool;
  // The conversion for pictures like m_source (size, pixel format, range and matrix).
  CRkAv<SwsContext> m_scaler;
  struct SRkPictureKind {
    int width = 0;
    int height = 0;
    int pixelFormat = AV_PIX_FMT_NONE;
    bool fullRange = false;
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;

    bool operator==(const SRkPictureKind&) const = default;
  } m_source;
};
