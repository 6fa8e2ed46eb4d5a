#pragma once

#include <string>
#include <utility>

#include "base/CRkRef.h"
#include "base/CRkUnknown.h"
#include "contracts/RkKernel.h"

namespace rkplay {

// Travels with a frame that stands in for one that could not be read: which clip, and why. Immutable; any
// thread may hold it.
class FrameFault final : public CRkUnknown<IRkUnknown> {
 public:
  FrameFault(std::string clip, std::string reason) : clip(std::move(clip)), reason(std::move(reason)) {}

  // Null for a frame that is the one that belongs there.
  static CRkRef<FrameFault> Of(IRkAVPlaySample& sample) {
    CRkRef<IRkUnknown> item;
    sample.GetAttachment(0, item.Out());
    return CRkRef<FrameFault>::Retain(dynamic_cast<FrameFault*>(item.Get()));
  }

  const std::string clip;
  const std::string reason;

 private:
  ~FrameFault() override = default;
};

}  // namespace rkplay
