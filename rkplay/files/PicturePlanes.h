#pragma once

#include <array>

#include "base/CRkRef.h"
#include "contracts/RkKernel.h"
#include "contracts/RkPictureLayout.h"

namespace rkplay {

// The memory of a picture's planes. That of a sample is held as long as this lives; the sample itself is not.
// One thread at a time.
class PicturePlanes {
 public:
  // None.
  PicturePlanes() = default;
  // None as well when the picture lacks a plane, or has one too small for the format.
  PicturePlanes(IRkVideoSample& picture, const SRkVideoResolution& format);
  // Plane behind plane in memory that outlives this.
  PicturePlanes(const BYTE* memory, const SRkVideoResolution& format);

  explicit operator bool() const { return m_rows.back() != nullptr; }
  // The first row; the rows lie as RkPlaneLayout tells.
  const BYTE* Rows(UINT plane) const { return m_rows[plane]; }

 private:
  std::array<CRkRef<IRkUnknown>, kRkPlaneCount> m_held;
  std::array<const BYTE*, kRkPlaneCount> m_rows = {};
};

}  // namespace rkplay
