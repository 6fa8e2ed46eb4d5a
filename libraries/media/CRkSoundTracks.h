#pragma once

#include <memory>
#include <string>
#include <vector>

#include "libraries/media/CRkSoundReader.h"

// Reads the sound of a clip by sample numbers of the output format, as CRkSoundReader does. The sound of a
// single track is converted to the output's channels. Those of several tracks are put side by side, each
// as it is: an output of fewer channels gets the first ones, and silence fills one of more. One thread at a
// time.
class CRkSoundTracks {
 public:
  explicit CRkSoundTracks(const SRkWaveFormatInfo& format) : m_format(format) {}

  bool Open(const SRkMediaSource& source, std::string& reason);
  // As CRkSoundReader::Read.
  bool Read(int64_t first, DWORD count, BYTE* data);

 private:
  struct SRkTrack {
    SRkTrack(const SRkWaveFormatInfo& format, int firstChannel)
        : format(format), firstChannel(firstChannel), reader(format) {}

    const SRkWaveFormatInfo format;
    const int firstChannel;
    CRkSoundReader reader;
  };

  void _Place(const SRkTrack& track, DWORD count, BYTE* data) const;

  const SRkWaveFormatInfo m_format;
  std::vector<std::unique_ptr<SRkTrack>> m_tracks;
  std::vector<BYTE> m_read;  // of one track
};
