#include "rkplay/monitor/Monitor.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

#include "base/CRkUnknown.h"
#include "module/RkClipPlay.h"
#include "rkplay/cli/FrameRate.h"
#include "rkplay/cli/Messages.h"

namespace rkplay {
namespace {

// Frames in the device: enough to ride out a busy machine, few enough that a pause follows its key.
constexpr int kQueueDepth = 6;
constexpr size_t kNotes = 16;          // more than there are frames in the device
constexpr DWORD kShowTimeoutMs = 500;  // longer than any frame
constexpr WORD kOutputBits = 16;
constexpr int kOutputChannels = 2;

// Travels with each frame's sound, to tell it from the silence that the device makes.
class FrameMark final : public CRkUnknown<IRkUnknown> {};

SRkWaveFormatInfo OutputFormat(const SRkWaveFormatInfo& audio) {
  return RkMakeWaveFormat(kOutputChannels, audio.samplesPerSecond, kOutputBits);
}

ERkAudioSystem SystemFor(SoundChoice sound) {
  switch (sound) {
    case SoundChoice::System:
      return RkAudioSystem_System;
    case SoundChoice::Virtual:
      return RkAudioSystem_Virtual;
    case SoundChoice::None:
      break;
  }
  return RkAudioSystem_None;
}

}  // namespace

// The device's sink. Borrows the monitor's parts; the device lets it go before they end.
class Monitor::Screen final : public CRkUnknown<IRkSoftwareOutputCallback> {
 public:
  Screen(PresentationMeter& meter, SoundTap& tap, Window* window)
      : m_meter(meter), m_tap(tap), m_window(window) {}

  void MarkNext(IRkAVPlaySample& sample, const FramePlace& place, std::string caption) {
    sample.SetAttachment(m_mark.Get());
    CRkScopedLock lock(m_noteLock);
    m_notes[m_submitted++ % m_notes.size()] = {place, std::move(caption)};
  }
  std::optional<FramePlace> Shown() const {
    CRkScopedLock lock(m_noteLock);
    return m_shownPlace;
  }
  UINT Submitted() const { return m_submitted; }

  void OnPlay() override {
    m_submitted = 0;
    m_meter.RunBegins();
    m_tap.RunBegins();
  }
  void OnAudioSample(IRkAudioSample* audio, IRkUnknown* extra) override {
    SRkAudioSampleInfo info{};
    audio->GetInfo(&info);
    m_tap.SoundWritten(info.dataLength, extra == nullptr);
    m_meter.SoundWritten(extra == nullptr);
  }
  void OnVideoSample(IRkVideoSample* video) override {
    if (video == nullptr) {
      m_meter.NoPictureShown();
      if (m_window != nullptr) m_window->Blank();
      return;
    }
    if (m_isRunning && video->GetFrameIndex() >= m_submitted) return;  // fills a short run, shows nothing new
    const bool isCounted = m_isRunning;
    const bool isNew =
        !isCounted || m_meter.PictureShown(video->GetFrameIndex(), m_tap.PositionMs(), m_tap.SpanMs());
    SetEvent(m_shown);
    if (!isNew) return;
    if (m_window != nullptr) m_window->Show(*video, isCounted);
    if (isCounted) _Note(video->GetFrameIndex());
  }
  void OnStop() override { m_meter.RunEnds(m_submitted); }

  // Until the frame put last has had its turn, or has none: at a stop the device shows what it still has
  // too early, or passes it over.
  void WaitForLastPicture() const {
    while (m_meter.Expected().value_or(m_submitted) < m_submitted && RkWait(m_shown, kShowTimeoutMs)) {
    }
  }

  // Stills are shown on the host's thread, while the device does not play.
  void SetRunning(bool running) { m_isRunning = running; }

 private:
  struct Note {
    FramePlace place;
    std::string caption;
  };

  void _Note(UINT frame) {
    Note note;
    {
      CRkScopedLock lock(m_noteLock);
      note = m_notes[frame % m_notes.size()];
      m_shownPlace = note.place;
    }
    if (m_window != nullptr) m_window->SetTitle(note.caption);
  }

  PresentationMeter& m_meter;
  SoundTap& m_tap;
  Window* const m_window;
  const CRkRef<IRkUnknown> m_mark = CRkRef<IRkUnknown>::Adopt(new FrameMark);
  const CRkHandle m_shown = CRkHandle::AutoResetEvent();
  std::atomic<UINT> m_submitted = 0;
  std::atomic<bool> m_isRunning = false;
  mutable CRkCriticalSection m_noteLock;
  std::array<Note, kNotes> m_notes RK_GUARDED_BY(m_noteLock);  // by frame
  std::optional<FramePlace> m_shownPlace RK_GUARDED_BY(m_noteLock);
};

Monitor::Monitor(const MonitorOptions& options, const SRkClipFormat& format, KeyQueue& keys)
    : m_reserve(FrameTime(format.video.frameRate, kQueueDepth - 1)),
      m_isMono(format.audio.channels == 1),
      m_meter(RkFrameDurationMs(format.video.frameRate)),
      m_wantsSound(options.sound != SoundChoice::None && format.audio.channels > 0),
      m_tap(CRkRef<SoundTap>::Adopt(new SoundTap(options.soundPath, OutputFormat(format.audio)))),
      m_window(options.window ? std::make_unique<Window>(format.video, keys) : nullptr),
      m_screen(CRkRef<Screen>::Adopt(new Screen(m_meter, *m_tap.Get(), m_window.get()))) {
  RkSelectAudioSystem(SystemFor(options.sound), m_tap.Get());
  if (!RkCreateSoftwareOutputDevice(format.video, format.audio, nullptr, kQueueDepth, m_device.Out())) {
    std::vector<std::string> errors;
    _Release(errors);
    throw UsageError("the output device cannot be created");
  }
  m_device->SetOutputCallback(m_screen.Get());
}

Monitor::~Monitor() {
  std::vector<std::string> errors;  // Close has reported them
  _Release(errors);
}

// Renderer and tap hold each other.
void Monitor::_Release(std::vector<std::string>& errors) {
  RkSelectAudioSystem(RkAudioSystem_System, nullptr);
  m_device.Reset();
  m_tap->Close(errors);
}

std::optional<std::string> Monitor::WhyMute() const {
  if (!m_wantsSound || m_tap->HasRenderer()) return std::nullopt;
  return "there is no sound card: the pictures go out alone";
}

void Monitor::Put(IRkAVPlaySample& sample, const FramePlace& place, std::string caption) {
  if (!m_device->IsPlaying()) {
    m_screen->SetRunning(true);
    m_device->Play();
  }
  m_screen->MarkNext(sample, place, std::move(caption));
  sample.GetVideoSample(m_lastPicture.Out());
  if (m_isMono) {  // heard on both sides
    CRkRef<IRkAudioSample> sound;
    sample.GetAudioSample(0, 0, sound.Out());
    sample.SetAudioSample(1, sound.Get());
  }
  m_device->PutSample(&sample);  // a frame for which there is no memory is passed over, and counted so
}

std::optional<FramePlace> Monitor::Shown() const {
  return m_screen->Shown();
}

void Monitor::SetTitle(const std::string& title) {
  if (m_window) m_window->SetTitle(title);
}

Presentation Monitor::Seen() const {
  Presentation seen = m_meter.Result();
  seen.droppedSound = m_atClose.droppedSound;
  seen.soundLosses = m_atClose.soundLosses;
  m_tap->AddTo(seen);
  if (!m_window) return seen;
  seen.displayLosses = m_window->LossCount();
  seen.unseen = std::min(m_window->UndrawnCount(), seen.shown);
  seen.shown -= seen.unseen;
  return seen;
}

std::vector<std::string> Monitor::News() {
  std::vector<std::string> news;
  const bool displayIsLost = m_window && !m_window->IsShowing();
  if (std::exchange(m_saidDisplayIsLost, displayIsLost) != displayIsLost) {
    news.emplace_back(displayIsLost ? "the display is lost; playing goes on without the window"
                                    : "the display is back");
  }
  const bool soundIsLost = m_tap->IsLost();
  if (std::exchange(m_saidSoundIsLost, soundIsLost) != soundIsLost) {
    news.emplace_back(soundIsLost ? "the sound system is lost; playing goes on without sound"
                                  : "the sound system is back");
  }
  return news;
}

void Monitor::Pause() {
  if (!m_device->IsPlaying()) return;
  _FillShortRun();
  m_screen->WaitForLastPicture();
  m_meter.RunPlaysOut();
  m_device->Stop(FALSE);
  m_screen->SetRunning(false);
  if (m_window) m_window->Settle();
}

// The device plays once it has a certain amount of sound: what is shorter is filled up with silence, under
// the last picture.
void Monitor::_FillShortRun() {
  if (!m_tap->HasRenderer()) return;
  CRkRef<IRkAVPlaySample> filler;
  if (!RkCreateAVPlaySample(filler.Out())) return;
  filler->SetVideoSample(m_lastPicture.Get());
  for (UINT put = m_screen->Submitted(); put < kQueueDepth; ++put) m_device->PutSample(filler.Get());
}

void Monitor::ShowStill(IRkAVPlaySample& sample, const std::string& caption) {
  m_device->PutSample(&sample);
  SetTitle(caption);
}

void Monitor::Close(std::vector<std::string>& errors) {
  Pause();
  m_tap->AddTo(m_atClose);
  _Release(errors);
}

}  // namespace rkplay
