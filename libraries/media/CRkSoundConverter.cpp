#include "libraries/media/CRkSoundConverter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/mathematics.h>
#include <libavutil/samplefmt.h>
}

namespace {

constexpr int kSilenceSamples = 4096;
constexpr int kMinSourceRate = 1000;
constexpr int kMaxSourceRate = 1000000;

AVSampleFormat AvSampleFormat(int bits) {
  if (bits == 8) return AV_SAMPLE_FMT_U8;
  return bits == 16 ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S32;
}

// Many files do not state the order of their channels; the default order applies then.
void LayoutOf(const AVFrame& frame, AVChannelLayout* layout) {
  if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(layout, frame.ch_layout.nb_channels);
  } else {
    av_channel_layout_copy(layout, &frame.ch_layout);
  }
}

}  // namespace

void RkFadeSound(const SRkWaveFormatInfo& format, BYTE* data, int64_t samples, bool rising) {
  const int bytes = format.bitsPerSample / 8;
  const int unused = 32 - format.bitsPerSample;
  const uint32_t silence = bytes == 1 ? 0x80000000 : 0;  // 8 bits are unsigned
  for (int64_t i = 0; i < samples; ++i) {
    const int64_t share = rising ? i : samples - 1 - i;
    for (int channel = 0; channel < format.channels; ++channel, data += bytes) {
      uint32_t value = 0;
      std::memcpy(reinterpret_cast<BYTE*>(&value) + unused / 8, data, static_cast<size_t>(bytes));
      const int64_t level = static_cast<int32_t>(value ^ silence);
      value = static_cast<uint32_t>(level * share / samples) ^ silence;
      std::memcpy(data, reinterpret_cast<const BYTE*>(&value) + unused / 8, static_cast<size_t>(bytes));
    }
  }
}

bool CRkSoundConverter::TakesRate(int rate) {
  return rate >= kMinSourceRate && rate <= kMaxSourceRate;
}

bool CRkSoundConverter::Begin(const AVFrame& like) {
  m_sourceRate = like.sample_rate;
  if (!TakesRate(m_sourceRate)) return false;
  const int64_t outputRate = m_format.samplesPerSecond;
  const int64_t common = av_gcd(m_sourceRate, outputRate);
  m_sourceStep = m_sourceRate / common;
  m_outputStep = outputRate / common;
  return GoOnWith(like);
}

bool CRkSoundConverter::GoOnWith(const AVFrame& like) {
  m_silence.reset();
  AVChannelLayout from{};
  AVChannelLayout to{};
  LayoutOf(like, &from);
  // Equal channel counts map one to one, whatever the channels are called.
  if (from.nb_channels == m_format.channels) {
    av_channel_layout_copy(&to, &from);
  } else {
    av_channel_layout_default(&to, m_format.channels);
  }
  SwrContext* resampler = nullptr;
  const bool ready =
      swr_alloc_set_opts2(&resampler, &to, AvSampleFormat(m_format.bitsPerSample),
                          static_cast<int>(m_format.samplesPerSecond), &from,
                          static_cast<AVSampleFormat>(like.format), like.sample_rate, 0, nullptr) >= 0 &&
      swr_init(resampler) >= 0;
  m_resampler.reset(resampler);
  av_channel_layout_uninit(&from);
  av_channel_layout_uninit(&to);
  av_frame_unref(m_like.get());
  m_like->format = like.format;
  m_like->sample_rate = like.sample_rate;
  return ready && av_channel_layout_copy(&m_like->ch_layout, &like.ch_layout) >= 0;
}

bool CRkSoundConverter::IsLike(const AVFrame& frame) const {
  return frame.format == m_like->format && frame.sample_rate == m_like->sample_rate &&
         av_channel_layout_compare(&frame.ch_layout, &m_like->ch_layout) == 0;
}

bool CRkSoundConverter::Convert(const AVFrame& frame, int64_t skipSamples, std::vector<BYTE>* output) {
  const auto format = static_cast<AVSampleFormat>(frame.format);
  const bool planar = av_sample_fmt_is_planar(format) != 0;
  const int planes = planar ? frame.ch_layout.nb_channels : 1;
  const int64_t stride =
      int64_t{av_get_bytes_per_sample(format)} * (planar ? 1 : frame.ch_layout.nb_channels);
  std::array<const uint8_t*, kMaxChannels> data{};
  if (planes > static_cast<int>(data.size())) return false;
  for (int i = 0; i < planes; ++i) data[i] = frame.extended_data[i] + skipSamples * stride;
  return _Feed(data.data(), frame.nb_samples - static_cast<int>(skipSamples), output);
}

bool CRkSoundConverter::ConvertSilence(int64_t samples, std::vector<BYTE>* output) {
  if (m_silence == nullptr && !_MakeSilence()) return false;
  for (int64_t left = samples; left > 0;) {
    const int64_t now = std::min<int64_t>(left, kSilenceSamples);
    if (!Convert(*m_silence, kSilenceSamples - now, output)) return false;
    left -= now;
  }
  return true;
}

bool CRkSoundConverter::_MakeSilence() {
  CRkAv<AVFrame> silence(av_frame_alloc());
  if (silence == nullptr) return false;
  silence->format = m_like->format;
  silence->sample_rate = m_like->sample_rate;
  silence->nb_samples = kSilenceSamples;
  if (av_channel_layout_copy(&silence->ch_layout, &m_like->ch_layout) < 0 ||
      av_frame_get_buffer(silence.get(), 0) < 0) {
    return false;
  }
  av_samples_set_silence(silence->extended_data, 0, kSilenceSamples, silence->ch_layout.nb_channels,
                         static_cast<AVSampleFormat>(silence->format));
  m_silence = std::move(silence);
  return true;
}

bool CRkSoundConverter::Flush(std::vector<BYTE>* output) {
  return _Feed(nullptr, 0, output);
}

bool CRkSoundConverter::_Feed(const uint8_t** data, int samples, std::vector<BYTE>* output) {
  const int room = swr_get_out_samples(m_resampler.get(), samples);
  if (room < 0) return false;
  const auto channels = static_cast<size_t>(m_format.channels);
  const bool narrow = m_format.bitsPerSample == 24;
  const size_t before = output->size();
  std::vector<BYTE>& target = narrow ? m_wide : *output;
  const size_t targetBytes = narrow ? channels * 4 : m_format.blockAlign;
  const size_t base = narrow ? 0 : before;
  target.resize(base + static_cast<size_t>(room) * targetBytes);
  uint8_t* out = target.data() + base;
  const int got = swr_convert(m_resampler.get(), &out, room, data, samples);
  if (narrow && got > 0) {
    output->resize(before + static_cast<size_t>(got) * m_format.blockAlign);
    for (size_t i = 0; i < static_cast<size_t>(got) * channels; ++i) {
      std::memcpy(output->data() + before + i * 3, m_wide.data() + i * 4 + 1, 3);
    }
  }
  output->resize(before + static_cast<size_t>(std::max(got, 0)) * m_format.blockAlign);
  return got >= 0;
}
