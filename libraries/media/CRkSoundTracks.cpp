#include "libraries/media/CRkSoundTracks.h"

#include <algorithm>
#include <cstring>

#include "contracts/RkAVUtils.h"

bool CRkSoundTracks::Open(const SRkMediaSource& source, std::string& reason) {
  const std::vector<SRkSoundTrack>& used = source.sound.used;
  int channel = 0;
  for (const SRkSoundTrack& track : used) {
    if (channel >= m_format.channels) break;
    const int channels = used.size() == 1 ? m_format.channels : track.channels;
    const SRkWaveFormatInfo format =
        RkMakeWaveFormat(channels, m_format.samplesPerSecond, m_format.bitsPerSample);
    auto opened = std::make_unique<SRkTrack>(format, channel);
    // Recorders leave empty tracks beside others: they are silent.
    if (opened->reader.Open(source, track.stream, reason)) {
      m_tracks.push_back(std::move(opened));
    } else if (channel == 0) {
      return false;
    }
    channel += channels;
  }
  return !m_tracks.empty();
}

bool CRkSoundTracks::Read(int64_t first, DWORD count, BYTE* data) {
  if (m_tracks.size() == 1 && m_tracks.front()->format.channels == m_format.channels)
    return m_tracks.front()->reader.Read(first, count, data);
  RkAudioUtils::SilientAudioBuffer(m_format, data, count);
  bool whole = true;
  for (const auto& track : m_tracks) {
    m_read.resize(size_t{count} * track->format.blockAlign);
    whole = track->reader.Read(first, count, m_read.data()) && whole;
    _Place(*track, count, data);
  }
  return whole;
}

void CRkSoundTracks::_Place(const SRkTrack& track, DWORD count, BYTE* data) const {
  const int channels = std::min(track.format.channels, m_format.channels - track.firstChannel);
  const size_t sampleBytes = m_format.bitsPerSample / 8;
  const size_t bytes = sampleBytes * static_cast<size_t>(channels);
  BYTE* to = data + sampleBytes * static_cast<size_t>(track.firstChannel);
  const BYTE* from = m_read.data();
  for (DWORD i = 0; i < count; ++i, to += m_format.blockAlign, from += track.format.blockAlign) {
    std::memcpy(to, from, bytes);
  }
}
