#pragma once

#include <string>

#include "contracts/RkMediaRecords.h"
#include "rkplay/cli/Options.h"

namespace rkplay {

// What a clip contributes to the choice of the output format.
struct ClipNature {
  SRkClipFormat format;
  bool hasVideo;
  bool hasAudio;
  bool isStill = false;
  bool isSequence = false;
};

// The format of pattern clips when nothing else is asked for: 640x360, 25 frames, 48 kHz stereo.
SRkClipFormat DefaultFormat();

// Chooses the format that everything is converted to: the size of the first clip with moving pictures, else
// of the first still; the frame rate of the first clip that has one, which stills and sequences lack; sound
// as in the first clip with sound (none without such a clip), then what the options say. Pixel format and
// range never come from a clip, unless the options keep them. Another size than the clip's has square pixels;
// sizes of standard definition have those that make the whole 4:3 or 16:9, as the clip is.
class OutputFormat {
 public:
  // True while a further clip could still matter.
  bool WantsMore() const { return !m_hasRate || !m_hasAudio; }
  void Consider(const ClipNature& clip);
  // Whether any clip considered has pictures.
  bool HasPictures() const { return m_hasVideo; }
  SRkClipFormat Chosen(const FormatOptions& options) const;

 private:
  SRkClipFormat m_format = DefaultFormat();
  bool m_hasVideo = false;
  bool m_moves = false;    // the clip whose size was taken
  bool m_hasRate = false;  // of a clip
  bool m_hasAudio = false;
};

// "640x360, 25 frames/s, 48000 Hz, 2 channels"
std::string Describe(const SRkClipFormat& format);

}  // namespace rkplay
