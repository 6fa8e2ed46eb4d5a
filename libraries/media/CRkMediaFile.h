#pragma once

#include <memory>
#include <utility>

#include "base/CRkUnknown.h"
#include "contracts/RkMediaElement.h"
#include "libraries/media/SRkMediaSource.h"

// The result of examining a file, shared with the elements that are made of it. Unchanging, so any thread
// may enter.
class CRkMediaFile final : public CRkUnknown<IRkMediaFile> {
 public:
  CRkMediaFile(std::shared_ptr<const SRkMediaSource> source, const SRkMediaLook& look)
      : m_source(std::move(source)), m_look(look) {}

  void GetDescription(SRkMediaDescription* description) override {
    RkDescribe(*m_source, m_look, description);
  }
  BOOL CreateElement(int frameRate, const SRkMediaOptions* options, IRkMediaReadSink* sink,
                     IRkClipElement** element, SRkMediaReason* reason) override;

 private:
  ~CRkMediaFile() override = default;

  const std::shared_ptr<const SRkMediaSource> m_source;
  const SRkMediaLook m_look;
};
