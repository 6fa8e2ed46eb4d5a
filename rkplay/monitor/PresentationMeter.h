#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/CRkCriticalSection.h"
#include "contracts/RkTypes.h"

namespace rkplay {

// What a viewer of the output device saw and heard.
struct Presentation {
  ULONGLONG shown = 0;          // different frames
  ULONGLONG passedOver = 0;     // frames that never were: they came too late
  ULONGLONG unseen = 0;         // frames that came in time and that the window did not draw
  ULONGLONG repeated = 0;       // hand-overs of the frame that stood there already, while playing
  ULONGLONG silenceFrames = 0;  // of sound, between frames that had some
  ULONGLONG droppedSound = 0;   // samples per channel that were to be heard and were not
  unsigned displayLosses = 0;
  unsigned soundLosses = 0;
  // How far the sound was ahead of the picture when that appeared; nothing without sound.
  std::optional<double> medianOffsetMs;
  std::optional<double> worstOffsetMs;
};

// For a live line.
std::string ShortNote(const Presentation& seen);

// Counts what the device's callback is told. Frames carry the device's numbering, which begins at 0 with
// every run. Any thread enters: the host's, and the device's two.
class PresentationMeter {
 public:
  explicit PresentationMeter(double frameDurationMs) : m_frameDurationMs(frameDurationMs) {}

  void RunBegins();
  // From here on the device hands over what it has left as often as it likes.
  void RunPlaysOut();
  // `submitted`: frames that the run was given.
  void RunEnds(UINT submitted);
  // Frames of sound come in the order in which they are heard; each takes one frame's time.
  void SoundWritten(bool isSilence);
  // positionMs: where the sound stands at this moment, within a span of spanMs. False when the frame is on
  // screen already.
  bool PictureShown(UINT frame, std::optional<double> positionMs, double spanMs);
  // What follows may leave frames out: they have no picture.
  void NoPictureShown();

  // The frame after the last one shown; nothing after a hand-over without a picture.
  std::optional<UINT> Expected() const;
  Presentation Result() const;

 private:
  // More frames than a device ever has between writing their sound and showing them.
  static constexpr UINT kRemembered = 1024;

  bool _IsNew(UINT frame) RK_REQUIRES(m_lock);
  void _CountPassedOver(UINT next) RK_REQUIRES(m_lock);
  void _CountOffset(double offsetMs) RK_REQUIRES(m_lock);

  const double m_frameDurationMs;
  mutable CRkCriticalSection m_lock;
  Presentation m_counts RK_GUARDED_BY(m_lock);
  std::optional<UINT> m_expected RK_GUARDED_BY(m_lock) = 0;  // the frame after the last one shown
  bool m_playsOut RK_GUARDED_BY(m_lock) = false;
  ULONGLONG m_silenceSince RK_GUARDED_BY(m_lock) = 0;  // the last frame that had sound
  ULONGLONG m_soundFrames RK_GUARDED_BY(m_lock) = 0;   // of this run, silence included
  UINT m_soundsOfFrames RK_GUARDED_BY(m_lock) = 0;
  std::array<ULONGLONG, kRemembered> m_soundOf
      RK_GUARDED_BY(m_lock) = {};  // by frame: which sound is its own
  // By tenths of a millisecond, as days of play do not fit a list.
  std::vector<ULONGLONG> m_offsets RK_GUARDED_BY(m_lock);
};

}  // namespace rkplay
