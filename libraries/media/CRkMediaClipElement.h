#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/CRkClipElementBase.h"
#include "base/CRkRef.h"
#include "contracts/RkMediaElement.h"
#include "libraries/media/CRkPictureScaler.h"
#include "libraries/media/CRkProgressiveReader.h"
#include "libraries/media/CRkSoundTracks.h"
#include "libraries/media/SRkMediaSource.h"

// A media file as a clip element. What it presents is settled when it is created; opening it opens the
// file's decoders, which belong to the thread that reads. A frame that the file no longer holds is
// replaced and reported, so the announced count is always delivered.
class CRkMediaClipElement final : public CRkClipElementBase {
 public:
  CRkMediaClipElement(std::shared_ptr<const SRkMediaSource> source, int frameRate,
                      const SRkMediaOptions& options, IRkMediaReadSink* sink);

 private:
  bool _Open(IRkPlayBufferPool* pool, const SRkClipFormat& format) override;
  void _Close() override;
  bool _OpenReaders(IRkPlayBufferPool* pool);
  void _ShowCover();
  BOOL _ReadFrame(const SRkPresentedFrame& frame, UINT position, IRkAVPlaySample** sample) override;
  BOOL _Read(const SRkPresentedFrame& frame, UINT position, IRkAVPlaySample** sample);
  CRkRef<IRkVideoSample> _ReadPicture(UINT sourceFrame, std::string* damage);
  CRkRef<IRkAudioSample> _ReadSound(const SRkPresentedFrame& frame, UINT position, std::string* damage);
  bool _IsPerField() const;
  ULONGLONG _SamplesBefore(UINT frame) const;

  const std::shared_ptr<const SRkMediaSource> m_source;
  const int m_frameRate;
  const SRkMediaOptions m_options;
  const CRkRef<IRkMediaReadSink> m_sink;

  // While open.
  SRkClipFormat m_format{};
  std::optional<CRkPictureScaler> m_scaler;
  std::optional<CRkProgressiveReader> m_pictures;  // none without pictures in the file
  std::optional<CRkSoundTracks> m_sound;           // none without sound in the file or in the format
  // The picture read last, black or the cover before the first: it is shared by all the frames that show it.
  CRkRef<IRkVideoSample> m_lastVideo;
  int64_t m_lastNumber = -1;
};
