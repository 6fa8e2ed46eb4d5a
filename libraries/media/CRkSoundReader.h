#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "libraries/media/CRkSoundConverter.h"
#include "libraries/media/CRkStreamDecoder.h"
#include "libraries/media/SRkMediaSource.h"

// Reads any stretch of a file's sound by sample numbers of the output format; sample 0 is at the file's
// time 0. Playing on and seeking give the same samples. Missing sound is silence. One thread at a time.
//
// m_ready holds the converted sound from sample m_readyFrom on. Places in the source are
// source samples from time 0. After the first frame they are counted, and timestamps only reveal gaps.
class CRkSoundReader {
 public:
  explicit CRkSoundReader(const SRkWaveFormatInfo& format) : m_format(format), m_converter(format) {}

  // Starts at the first frame of the stream of the index.
  bool Open(const SRkMediaSource& source, int stream, std::string& reason);
  // Fills in `count` samples from number `first` on; first is not below 0. False when silence stands for
  // damaged sound in some of them.
  bool Read(int64_t first, DWORD count, BYTE* data);

 private:
  int64_t _ReadyEnd() const {
    return m_readyFrom + static_cast<int64_t>(m_ready.size()) / m_format.blockAlign;
  }
  void _Locate(int64_t first);
  bool _Begin(bool fromStart);
  bool _FindPlace(int64_t* place) const;
  void _Damage(int64_t silence);
  int64_t _FadeSamples() const { return m_format.samplesPerSecond / 200; }
  void _LearnGrid(int64_t place);
  void _Pump();
  void _PumpFrame();
  bool _NextFrame();
  bool _ChangeRate();
  int64_t _StatedPlace() const;
  bool _IsCoarse() const;
  int64_t _Tolerance() const;

  const SRkWaveFormatInfo m_format;
  CRkStreamDecoder m_decoder;
  CRkSoundConverter m_converter;
  CRkAv<AVFrame> m_frame{av_frame_alloc()};
  bool m_frameHeld = false;  // m_frame is decoded and not converted yet
  bool m_fromStart = false;  // nothing precedes m_readyFrom in the file
  bool m_ended = false;
  AVRational m_originTimeBase{0, 1};
  int64_t m_origin = 0;

  std::vector<BYTE> m_ready;
  int64_t m_readyFrom = 0;
  int64_t m_nextPlace = 0;  // in the source, of what is converted next
  // Silence replaces damaged sound and is faded at both ends. m_ready always ends at least one fade after
  // the samples that were handed out, so the fade before the damage can still be applied.
  struct SRkSpan {
    int64_t begin;
    int64_t end;
  };
  std::vector<SRkSpan> m_damaged;  // in output samples, ascending
  bool m_isLost = false;           // the sound could not be started again
  bool m_fadesIn = false;          // the held frame is the first after damage
  int64_t m_silence = 0;           // source samples of silence to convert before the held frame
  int64_t m_shift = 0;             // of the source's timestamps at the last frame
  int64_t m_skip = 0;              // source samples to leave out first
  int64_t m_doubled = 0;           // output samples to leave out of what is converted next

  // Where timestamps are coarser than samples, frames of equal length, and those of Vorbis, lie on a grid:
  // m_gridPlace plus a multiple of m_gridStep, which is 0 while unknown and -1 when frames leave the grid.
  int64_t m_gridPlace = 0;
  int64_t m_gridStep = 0;
  int m_framesFromStart = 0;  // 0 after a seek
};
