#include "rkplay/clips/OutputFormat.h"

#include <limits>
#include <numeric>

#include "rkplay/cli/FrameRate.h"

namespace rkplay {
namespace {

void Resize(SRkVideoResolution& video, const PictureSize& size) {
  long long numerator = static_cast<long long>(video.aspectNumerator) * video.width * size.height;
  long long denominator = static_cast<long long>(video.aspectDenominator) * video.height * size.width;
  video.width = size.width;
  video.height = size.height;
  const long long common = std::gcd(numerator, denominator);
  if (common == 0) return;  // the shape is not known and stays so
  numerator /= common;
  denominator /= common;
  const long long largest = std::numeric_limits<int>::max();
  const bool fits = numerator <= largest && denominator <= largest;
  video.aspectNumerator = fits ? static_cast<int>(numerator) : 0;
  video.aspectDenominator = fits ? static_cast<int>(denominator) : 0;
}

}  // namespace

SRkClipFormat DefaultFormat() {
  SRkClipFormat format{};
  format.audio = RkMakeWaveFormat(2, 48000, 16);
  format.video = {640, 360, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, RkColorRange_Limited, 0};
  return format;
}

void OutputFormat::Consider(const ClipNature& clip) {
  if (clip.hasVideo && !m_hasVideo) m_format.video = clip.format.video;
  if (clip.hasAudio && !m_hasAudio) m_format.audio = clip.format.audio;
  m_hasVideo = m_hasVideo || clip.hasVideo;
  m_hasAudio = m_hasAudio || clip.hasAudio;
}

SRkClipFormat OutputFormat::Chosen(const FormatOptions& options) const {
  SRkClipFormat format = m_format;
  if (options.size) Resize(format.video, *options.size);
  if (options.frameRate) format.video.frameRate = *options.frameRate;
  const bool wantsAudio = m_hasAudio || options.audioRate || options.audioChannels;
  const int channels = wantsAudio ? options.audioChannels.value_or(format.audio.channels) : 0;
  const DWORD rate = options.audioRate.value_or(format.audio.samplesPerSecond);
  format.audio = RkMakeWaveFormat(channels, rate, format.audio.bitsPerSample);
  return format;
}

std::string Describe(const SRkClipFormat& format) {
  std::string text = std::to_string(format.video.width) + "x" + std::to_string(format.video.height) + ", " +
                     FrameRateName(format.video.frameRate) + " frames/s, ";
  if (format.audio.channels <= 0) return text + "no sound";
  text += std::to_string(format.audio.samplesPerSecond) + " Hz, " + std::to_string(format.audio.channels);
  return text + (format.audio.channels == 1 ? " channel" : " channels");
}

}  // namespace rkplay
