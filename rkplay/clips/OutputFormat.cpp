#include "rkplay/clips/OutputFormat.h"

#include <numeric>

#include "rkplay/cli/FrameRate.h"

namespace rkplay {
namespace {

// The sizes of standard definition television, whose pixels are never square.
bool IsStandardDefinition(const PictureSize& size) {
  return (size.width == 704 || size.width == 720) && (size.height == 480 || size.height == 576);
}

// Width over height of the whole picture.
double Shape(const SRkVideoResolution& video) {
  const bool known = video.aspectNumerator > 0 && video.aspectDenominator > 0;
  const double pixel = known ? static_cast<double>(video.aspectNumerator) / video.aspectDenominator : 1.0;
  return pixel * video.width / video.height;
}

void Resize(SRkVideoResolution& video, const PictureSize& size) {
  if (size.width == video.width && size.height == video.height) return;
  const bool isWide = Shape(video) > 1.54;  // nearer to 16:9 than to 4:3
  video.width = size.width;
  video.height = size.height;
  video.aspectNumerator = video.aspectDenominator = 1;
  if (!IsStandardDefinition(size)) return;
  const int numerator = (isWide ? 16 : 4) * size.height;
  const int denominator = (isWide ? 9 : 3) * size.width;
  video.aspectNumerator = numerator / std::gcd(numerator, denominator);
  video.aspectDenominator = denominator / std::gcd(numerator, denominator);
}

}  // namespace

SRkClipFormat DefaultFormat() {
  SRkClipFormat format{};
  format.audio = RkMakeWaveFormat(2, 48000, 16);
  format.video = {640, 360, RkPixelFormat_I420, 0, RkFrameRate_25, 1, 1, RkColorRange_Limited, 0};
  return format;
}

void OutputFormat::Consider(const ClipNature& clip) {
  const int rate = clip.format.video.frameRate;
  const bool hasRate = clip.hasVideo && !clip.isStill && !clip.isSequence;
  if (clip.hasVideo && (!m_hasVideo || (!m_moves && !clip.isStill))) {
    const int known = m_format.video.frameRate;
    m_format.video = clip.format.video;
    m_format.video.frameRate = known;
    m_moves = !clip.isStill;
  }
  if (hasRate && !m_hasRate) m_format.video.frameRate = rate;
  m_hasRate = m_hasRate || hasRate;
  if (clip.hasAudio && !m_hasAudio) m_format.audio = clip.format.audio;
  m_hasVideo = m_hasVideo || clip.hasVideo;
  m_hasAudio = m_hasAudio || clip.hasAudio;
}

SRkClipFormat OutputFormat::Chosen(const FormatOptions& options) const {
  SRkClipFormat format = m_format;
  if (!options.keepsPixelFormat) {
    format.video.pixelFormat = options.pixelFormat;
    format.video.colorRange = options.colorRange;
  }
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
