#include "rkplay/frame/FrameGrabber.h"

#include <utility>

#include "base/CRkUnknown.h"
#include "module/RkClipPlay.h"
#include "rkplay/cli/Messages.h"
#include "rkplay/clips/FrameFault.h"
#include "rkplay/clips/PlayBufferPool.h"

namespace rkplay {
namespace {

// Frames that are read one by one need little more than one picture at a time.
constexpr size_t kSpareMemory = size_t{8} << 20;

}  // namespace

// Keeps the frame shown last. No run is ever played, so all of it is on one thread.
class FrameGrabber::Sink final : public CRkUnknown<IRkClipOutputCallback> {
 public:
  void OnPlayStart() override {}
  void OnPlaySample(IRkAVPlaySample* sample) override { m_shown = CRkRef<IRkAVPlaySample>::Retain(sample); }
  void OnPlayEnd() override {}

  CRkRef<IRkAVPlaySample> Take() { return std::exchange(m_shown, {}); }

 private:
  CRkRef<IRkAVPlaySample> m_shown;
};

FrameGrabber::FrameGrabber(const Programme& programme)
    : m_clip(programme.lists.front()),
      m_writer(programme.format.video),
      m_sink(CRkRef<Sink>::Adopt(new Sink)) {
  if (!programme.hasPictures) throw UsageError(m_clip.title + ": has no pictures");
  const SRkWaveFormatInfo& audio = programme.format.audio;
  const SRkWaveFormatInfo noSound = RkMakeWaveFormat(0, audio.samplesPerSecond, audio.bitsPerSample);
  const auto pool = CRkRef<PlayBufferPool>::Adopt(new PlayBufferPool(kSpareMemory));
  CRkRef<IRkClipElement> clip;
  m_clip.elements->GetFirstElement(clip.Out());
  if (!RkCreateClipSourcePlayer(programme.format.video, noSound, pool.Get(), m_sink.Get(), m_player.Out()) ||
      !m_player->Open(clip.Get())) {
    throw UsageError(m_clip.title + ": cannot be opened");
  }
}

FrameGrabber::~FrameGrabber() = default;

bool FrameGrabber::Grab(UINT position, const std::string& path, bool force, std::string& error) {
  const std::string frame = m_clip.title + ": frame " + std::to_string(position);
  const bool read = m_player->Seek(position) != FALSE;
  const CRkRef<IRkAVPlaySample> sample = m_sink->Take();
  if (!read || !sample) {
    error = frame + " cannot be read";
    return false;
  }
  if (const auto fault = FrameFault::Of(*sample)) {
    error = frame + (force ? " is not the clip's own: " : " cannot be read: ") + fault->reason +
            (force ? "" : " (--force writes the picture that goes on air)");
    if (!force) return false;
  }
  std::string reason;
  if (m_writer.Write(*sample, path, reason)) return true;
  error = path + ": cannot be written: " + reason;
  return false;
}

}  // namespace rkplay
