#include "libraries/media/CRkMediaClipElement.h"

#include <utility>

#include "base/CRkAudioLock.h"
#include "base/RkSampleFormat.h"
#include "base/RkWithinMemory.h"
#include "contracts/RkAVUtils.h"

namespace {

bool IsSupported(const SRkVideoResolution& video) {
  return video.width > 0 && video.width <= kRkMaxPictureSide && video.height > 0 &&
         video.height <= kRkMaxPictureSide && video.pixelFormat >= RkPixelFormat_I420 &&
         video.pixelFormat <= RkPixelFormat_I444 && video.scanMode == 0 &&
         (video.colorRange == RkColorRange_Limited || video.colorRange == RkColorRange_Full);
}

bool IsSupported(const SRkWaveFormatInfo& audio) {
  return RkIsWholeFormat(audio) && audio.formatType == kRkIntegerSamples &&
         audio.channels <= CRkSoundConverter::kMaxChannels && audio.samplesPerSecond > 0 &&
         audio.samplesPerSecond <= INT32_MAX;
}

}  // namespace

CRkMediaClipElement::CRkMediaClipElement(std::shared_ptr<const SRkMediaSource> source, int frameRate,
                                         const SRkMediaOptions& options, IRkMediaReadSink* sink)
    : CRkClipElementBase(source->FrameCount(frameRate, options)),
      m_source(std::move(source)),
      m_frameRate(frameRate),
      m_options(options),
      m_sink(CRkRef<IRkMediaReadSink>::Retain(sink)) {}

bool CRkMediaClipElement::_Open(IRkPlayBufferPool* pool, const SRkClipFormat& format) {
  if (format.video.frameRate != m_frameRate || !IsSupported(format.video)) return false;
  const bool wantsSound = format.audio.channels > 0;
  if (wantsSound && !IsSupported(format.audio)) return false;
  m_format = format;
  bool opened = false;
  return RkWithinMemory([&] { opened = _OpenReaders(pool); }) && opened;
}

bool CRkMediaClipElement::_OpenReaders(IRkPlayBufferPool* pool) {
  std::string reason;
  m_scaler.emplace(m_format.video, m_options.fit, pool);
  m_lastVideo = m_scaler->Black();
  if (!m_lastVideo) return false;
  if (m_source->hasCover) _ShowCover();
  if (m_source->hasVideo) {
    m_pictures.emplace(m_options.deinterlace, _IsPerField(), m_source->isInterlaced);
    if (!m_pictures->Open(*m_source, reason)) return false;
  }
  if (!m_source->hasAudio || m_format.audio.channels <= 0) return true;
  m_sound.emplace(m_format.audio);
  return m_sound->Open(*m_source, reason);
}

// Leaves black where the cover cannot be shown.
void CRkMediaClipElement::_ShowCover() {
  const CRkAv<AVFrame> cover = RkReadCover(m_source->path);
  if (cover == nullptr) return;
  CRkRef<IRkVideoSample> video = m_scaler->Scale(*cover);
  if (video) m_lastVideo = std::move(video);
}

void CRkMediaClipElement::_Close() {
  m_pictures.reset();
  m_sound.reset();
  m_lastVideo.Reset();
  m_lastNumber = -1;
  m_scaler.reset();
}

BOOL CRkMediaClipElement::_ReadFrame(const SRkPresentedFrame& frame, UINT position,
                                     IRkAVPlaySample** sample) {
  BOOL read = FALSE;
  RkWithinMemory([&] { read = _Read(frame, position, sample); });
  return read;
}

BOOL CRkMediaClipElement::_Read(const SRkPresentedFrame& frame, UINT position, IRkAVPlaySample** sample) {
  if (!m_scaler) return FALSE;
  std::string damage;
  const CRkRef<IRkVideoSample> video = _ReadPicture(frame.source, &damage);
  CRkRef<IRkAVPlaySample> created;
  if (!video || !RkCreateAVPlaySample(created.Out())) return FALSE;
  created->SetPosition(position);
  created->SetVideoSample(video.Get());
  if (m_format.audio.channels > 0) {
    const CRkRef<IRkAudioSample> audio = _ReadSound(frame, position, &damage);
    if (!audio) return FALSE;
    created->SetAudioSample(0, audio.Get());
  }
  if (!damage.empty() && m_sink) m_sink->OnFrameSubstituted(position - GetTimelineStart(), damage.c_str());
  *sample = created.Detach();
  return TRUE;
}

// Null only without memory. `damage` stays empty when the picture is the one that belongs there.
CRkRef<IRkVideoSample> CRkMediaClipElement::_ReadPicture(UINT sourceFrame, std::string* damage) {
  if (!m_pictures) return CRkPictureScaler::Share(*m_lastVideo.Get());
  const int64_t number = m_source->pictures.PictureAt(sourceFrame, m_source->PictureClock(m_frameRate));
  const CRkPictureReader::SRkPicture picture =
      m_pictures->Read(number, _IsPerField() && sourceFrame % 2 != 0);
  if (picture.damage != nullptr) *damage = picture.damage;
  if (picture.frame != nullptr && picture.number != m_lastNumber) {
    CRkRef<IRkVideoSample> video = m_scaler->Scale(*picture.frame);
    if (video) {
      m_lastVideo = std::move(video);
      m_lastNumber = picture.number;
    } else {
      *damage = "the picture cannot be converted";
    }
  }
  return CRkPictureScaler::Share(*m_lastVideo.Get());
}

// At twice the pictures' rate, every frame shows a field of its own.
bool CRkMediaClipElement::_IsPerField() const {
  if (m_source->isStill || m_source->isSequence) return false;
  const AVRational doubled = av_mul_q(m_source->pictures.Rate(), {2, 1});
  return doubled.num > 0 && av_cmp_q(doubled, RkAvFrameRate(m_frameRate)) == 0;
}

// The frame's share of the sound. Counted by the timeline, no sample is lost or doubled from one frame,
// row or element to the next; each row begins at the source time of its first frame.
CRkRef<IRkAudioSample> CRkMediaClipElement::_ReadSound(const SRkPresentedFrame& frame, UINT position,
                                                       std::string* damage) {
  const UINT rowPosition = position - (frame.source - frame.rowStart);
  const ULONGLONG begin = _SamplesBefore(position);
  const auto count = static_cast<DWORD>(_SamplesBefore(position + 1) - begin);
  const ULONGLONG first = _SamplesBefore(frame.rowStart) + begin - _SamplesBefore(rowPosition);
  CRkRef<IRkAudioSample> audio;
  // The output channel may repeat a sample where lists meet.
  if (!RkCreateUserAudioSample(m_format.audio, nullptr, count + 1, audio.Out())) return {};
  audio->SetSampleCount(count);
  const CRkAudioLock lock(*audio);
  if (m_sound) {
    const bool whole = m_sound->Read(static_cast<int64_t>(first), count, lock.Data());
    if (!whole && damage->empty()) *damage = "damaged sound";
  } else {
    RkAudioUtils::SilientAudioBuffer(m_format.audio, lock.Data(), count);
  }
  return audio;
}

ULONGLONG CRkMediaClipElement::_SamplesBefore(UINT frame) const {
  return RkAudioUtils::GetAudioSampleCounts(m_format.audio.samplesPerSecond,
                                            static_cast<ERkFrameRate>(m_frameRate), 0, frame);
}
