#include "libraries/media/CRkSoundReader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <utility>

#include "contracts/RkAVUtils.h"

namespace {

// Decoders that depend on earlier frames deliver exact samples after this much sound.
constexpr double kPrerollSeconds = 0.5;
// Opus predicts each frame's energy from the last: half a second leaves a difference that reaches the sample.
constexpr double kOpusPrerollSeconds = 1.0;
// Seek targets are moved back step by step; after the last step the sound is decoded from its start.
constexpr double kStepsBackSeconds[] = {0.0, 2.0, 8.0};
// Limits the silence that is converted at a time.
constexpr int64_t kSilenceSamples = 4096;
// A timestamp that steps back further than this is wrong.
constexpr int64_t kMaxOverlapSeconds = 1;

// Whether every frame of the stream has as many samples as the next.
bool HasEqualFrames(const AVCodecParameters& codec) {
  switch (codec.codec_id) {
    case AV_CODEC_ID_OPUS:
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
    case AV_CODEC_ID_DTS:
    case AV_CODEC_ID_FLAC:
      return true;
    default:
      return codec.frame_size > 0 || av_get_exact_bits_per_sample(codec.codec_id) != 0;
  }
}

// The step of the places where Vorbis frames begin: the halves and quarters of its two block lengths, which
// the first of its headers states. 0 where there is no such header.
int64_t VorbisStep(const AVCodecParameters& codec) {
  constexpr char kName[] = "\1vorbis";
  constexpr std::ptrdiff_t kLengthsAt = 28;
  const uint8_t* begin = codec.extradata;
  const uint8_t* end = begin + codec.extradata_size;
  const uint8_t* header = std::search(begin, end, kName, kName + sizeof(kName) - 1);
  if (codec.codec_id != AV_CODEC_ID_VORBIS || end - header <= kLengthsAt) return 0;
  const int64_t shorter = int64_t{1} << (header[kLengthsAt] & 15);
  const int64_t longer = int64_t{1} << (header[kLengthsAt] >> 4);
  return std::gcd(std::gcd(shorter / 2, longer / 2), (shorter + longer) / 4);
}

int64_t RoundDown(int64_t value, int64_t step) {
  const int64_t rest = value % step;
  return rest < 0 ? value - rest - step : value - rest;
}

int64_t RoundUp(int64_t value, int64_t step) {
  return RoundDown(value + step - 1, step);
}

}  // namespace

bool CRkSoundReader::Open(const SRkMediaSource& source, int stream, std::string& reason) {
  m_originTimeBase = source.originTimeBase;
  m_origin = source.origin;
  if (m_frame == nullptr || !m_decoder.Open(source.path, AVMEDIA_TYPE_AUDIO, stream, source.splices, reason))
    return false;
  if (!_Begin(true)) {
    reason = "its sound cannot be converted";
    return false;
  }
  // Seeks need the grid, which two frames reveal.
  while (_IsCoarse() && m_framesFromStart < 2 && !m_ended) _Pump();
  return true;
}

bool CRkSoundReader::Read(int64_t first, DWORD count, BYTE* data) {
  const int64_t end = first + count;
  const bool before = first < m_readyFrom && !m_fromStart;
  const bool far = first > _ReadyEnd() + m_format.samplesPerSecond && !m_ended;
  if (before || far) _Locate(first);
  while (!m_ended && _ReadyEnd() < end + _FadeSamples()) _Pump();

  RkAudioUtils::SilientAudioBuffer(m_format, data, count);
  const int64_t from = std::max(first, m_readyFrom);
  const int64_t to = std::min(end, _ReadyEnd());
  if (from < to) {
    std::memcpy(data + (from - first) * m_format.blockAlign,
                m_ready.data() + (from - m_readyFrom) * m_format.blockAlign,
                static_cast<size_t>(to - from) * m_format.blockAlign);
  }
  const bool whole = !m_isLost && std::none_of(m_damaged.begin(), m_damaged.end(), [&](const SRkSpan& span) {
    return span.begin < end && span.end > first;
  });
  // Samples before this stretch are read again only after a seek.
  const int64_t passed = std::min(first, _ReadyEnd()) - m_readyFrom;
  if (passed > 0) {
    m_ready.erase(m_ready.begin(), m_ready.begin() + passed * m_format.blockAlign);
    m_readyFrom += passed;
    m_fromStart = false;
  }
  std::erase_if(m_damaged, [&](const SRkSpan& span) { return span.end <= first; });
  return whole;
}

void CRkSoundReader::_Locate(int64_t first) {
  m_isLost = false;
  const int rate = m_converter.SourceRate();
  const int64_t target = av_rescale(first, rate, m_format.samplesPerSecond);
  const AVRational timeBase = m_decoder.TimeBase();
  const bool isOpus = m_decoder.Stream()->codecpar->codec_id == AV_CODEC_ID_OPUS;
  const double preroll = isOpus ? kOpusPrerollSeconds : kPrerollSeconds;
  for (const double back : kStepsBackSeconds) {
    const int64_t place = target - m_converter.SourceStep() - static_cast<int64_t>((preroll + back) * rate);
    if (place <= 0) break;
    const int64_t timestamp =
        av_rescale_q(place, {1, rate}, timeBase) + av_rescale_q(m_origin, m_originTimeBase, timeBase);
    CRkStreamDecoder::SRkLanding landing{};
    const auto found = m_decoder.Seek(timestamp, &landing);
    if (found == CRkStreamDecoder::ERkSeek::NotPossible) break;
    if (found == CRkStreamDecoder::ERkSeek::NothingThere) {
      // The sound ends before this place.
      m_ready.clear();
      m_readyFrom = first;
      m_fromStart = m_frameHeld = false;
      m_ended = true;
      return;
    }
    if (_Begin(false) && m_readyFrom <= first) return;
  }
  m_isLost = !m_decoder.Restart() || !_Begin(true);
  if (m_isLost) m_ended = true;
}

// Starts at the decoder's next frame.
bool CRkSoundReader::_Begin(bool fromStart) {
  m_ready.clear();
  m_frameHeld = m_ended = false;
  m_silence = m_skip = m_doubled = 0;
  m_damaged.clear();
  m_fadesIn = false;
  m_framesFromStart = 0;
  m_fromStart = fromStart;
  int64_t place = 0;
  if (!m_decoder.NextFrame(m_frame.get()) || !m_converter.Begin(*m_frame) || !_FindPlace(&place)) {
    m_ended = true;
    return false;
  }
  m_shift = m_decoder.Source().Shift();
  const int64_t step = m_converter.SourceStep();
  if (fromStart) {
    m_framesFromStart = 1;
    m_nextPlace = place;
    m_silence = place - RoundDown(place, step);
  } else {
    m_nextPlace = RoundUp(place, step);
    m_skip = m_nextPlace - place;
  }
  m_readyFrom = (m_nextPlace - m_silence) / step * m_converter.OutputStep();
  m_frameHeld = true;
  return true;
}

// The place of the first frame. False when it cannot be known to the sample.
bool CRkSoundReader::_FindPlace(int64_t* place) const {
  const int64_t stated = _StatedPlace();
  if (stated == AV_NOPTS_VALUE) {
    *place = 0;
    return m_fromStart;
  }
  *place = stated;
  if (m_fromStart || !_IsCoarse()) return true;
  if (m_gridStep <= 0 || m_frame->nb_samples % m_gridStep != 0) return false;
  *place = m_gridPlace + RoundDown(stated - m_gridPlace + m_gridStep / 2, m_gridStep);
  // A grid as fine as the timestamps names no sample.
  const AVRational timeBase = m_decoder.TimeBase();
  const bool isWide = m_gridStep * timeBase.den > int64_t{m_converter.SourceRate()} * timeBase.num;
  return isWide && std::abs(*place - stated) <= _Tolerance();
}

void CRkSoundReader::_Pump() {
  const auto before = static_cast<std::ptrdiff_t>(m_ready.size());
  if (m_silence > 0) {
    const int64_t now = std::min(m_silence, kSilenceSamples);
    if (!m_converter.ConvertSilence(now, &m_ready)) m_ended = true;
    m_silence -= now;
  } else if (m_frameHeld) {
    _PumpFrame();
  } else if (!_NextFrame()) {
    m_converter.Flush(&m_ready);
    m_ended = true;
  }
  if (m_doubled <= 0 || m_ended) return;
  const int64_t added = (static_cast<std::ptrdiff_t>(m_ready.size()) - before) / m_format.blockAlign;
  const int64_t dropped = std::min(m_doubled, added);
  m_doubled -= dropped;
  m_ready.erase(m_ready.begin() + before, m_ready.begin() + before + dropped * m_format.blockAlign);
}

void CRkSoundReader::_PumpFrame() {
  m_frameHeld = false;
  if (!m_converter.IsLike(*m_frame)) {
    m_converter.Flush(&m_ready);
    if (!m_converter.GoOnWith(*m_frame)) {
      m_ended = true;
      return;
    }
  }
  const int64_t skipped = std::min<int64_t>(m_skip, m_frame->nb_samples);
  m_skip -= skipped;
  m_nextPlace += m_frame->nb_samples - skipped;
  const size_t before = m_ready.size();
  if (!m_converter.Convert(*m_frame, skipped, &m_ready)) m_ended = true;
  if (!std::exchange(m_fadesIn, false)) return;
  const int64_t ready = static_cast<int64_t>(m_ready.size() - before) / m_format.blockAlign;
  RkFadeSound(m_format, m_ready.data() + before, std::min(ready, _FadeSamples()), true);
}

// Fades out the sound that is ready and marks the silence that follows as damage.
void CRkSoundReader::_Damage(int64_t silence) {
  const int64_t samples = std::min(_ReadyEnd() - m_readyFrom, _FadeSamples());
  RkFadeSound(m_format, m_ready.data() + m_ready.size() - static_cast<size_t>(samples * m_format.blockAlign),
              samples, false);
  const int64_t length = av_rescale(silence, m_format.samplesPerSecond, m_converter.SourceRate());
  m_damaged.push_back({_ReadyEnd(), _ReadyEnd() + length});
  m_fadesIn = true;
}

// Decodes a frame and finds the gap or the overlap before it.
bool CRkSoundReader::_NextFrame() {
  bool failed = false;
  do {
    const bool decoded = m_decoder.NextFrame(m_frame.get());
    failed = failed || m_decoder.HasFailed() || (decoded && m_frame->decode_error_flags != 0);
    if (!decoded) return false;
  } while (m_frame->decode_error_flags != 0 || m_frame->nb_samples <= 0 ||
           !CRkSoundConverter::TakesRate(m_frame->sample_rate));
  m_frameHeld = true;
  if (m_frame->sample_rate != m_converter.SourceRate()) return _ChangeRate();
  const int64_t expected = m_nextPlace - m_skip;
  _LearnGrid(expected);
  const int64_t stated = _StatedPlace();
  if (stated == AV_NOPTS_VALUE) return true;
  const int64_t gap = stated - expected;
  // Counting does not carry over a jump of the timestamps.
  const bool jumps = m_decoder.Source().Shift() != std::exchange(m_shift, m_decoder.Source().Shift());
  const int64_t tolerance = jumps ? 0 : _Tolerance();
  if (gap > tolerance) {
    m_silence = gap - std::min(gap, m_skip);
    m_skip -= std::min(gap, m_skip);
    m_nextPlace += m_silence;
    if (failed && m_silence > 0) _Damage(m_silence);
  } else if (gap < -tolerance && gap >= -kMaxOverlapSeconds * m_converter.SourceRate()) {
    m_skip -= gap;
  }
  return true;
}

// Continues with sound of another rate: places count its samples from here on.
bool CRkSoundReader::_ChangeRate() {
  m_converter.Flush(&m_ready);
  int64_t place = av_rescale(m_nextPlace - m_skip, m_frame->sample_rate, m_converter.SourceRate());
  if (!m_converter.Begin(*m_frame)) return false;
  const int64_t stated = _StatedPlace();
  if (stated != AV_NOPTS_VALUE && !_IsCoarse() && place - stated <= kMaxOverlapSeconds * m_frame->sample_rate)
    place = stated;
  m_shift = m_decoder.Source().Shift();
  m_gridStep = -1;
  m_skip = 0;
  m_nextPlace = place;
  const int64_t begin = RoundDown(place, m_converter.SourceStep());
  m_silence = place - begin;
  // The new conversion begins where both rates have a sample: before or after the end of the last one.
  m_doubled = _ReadyEnd() - begin / m_converter.SourceStep() * m_converter.OutputStep();
  if (m_doubled >= 0) return true;
  const size_t before = m_ready.size();
  m_ready.resize(before + static_cast<size_t>(-m_doubled) * m_format.blockAlign);
  RkAudioUtils::SilientAudioBuffer(m_format, m_ready.data() + before, static_cast<DWORD>(-m_doubled));
  return true;
}

void CRkSoundReader::_LearnGrid(int64_t place) {
  if (m_framesFromStart == 0) return;
  ++m_framesFromStart;
  const AVCodecParameters& codec = *m_decoder.Stream()->codecpar;
  const int64_t step = HasEqualFrames(codec) ? m_frame->nb_samples : VorbisStep(codec);
  if (step == 0) return;
  if (m_framesFromStart == 2 && m_gridStep == 0) {
    m_gridPlace = place;
    m_gridStep = step;
  } else if (m_framesFromStart > 2 && m_gridStep > 0 && (place - m_gridPlace) % m_gridStep != 0) {
    m_gridStep = -1;  // frames of many lengths
  }
}

// The place that the frame's timestamp states; AV_NOPTS_VALUE without one.
int64_t CRkSoundReader::_StatedPlace() const {
  if (m_frame->best_effort_timestamp == AV_NOPTS_VALUE) return AV_NOPTS_VALUE;
  const AVRational samples{1, m_converter.SourceRate()};
  return av_rescale_q(m_frame->best_effort_timestamp, m_decoder.TimeBase(), samples) -
         av_rescale_q(m_origin, m_originTimeBase, samples);
}

// Whether a timestamp is too coarse to name a sample.
bool CRkSoundReader::_IsCoarse() const {
  return av_cmp_q(m_decoder.TimeBase(), {1, m_converter.SourceRate()}) > 0;
}

// How far timestamps may be off without meaning a gap: two ticks, or a millisecond.
int64_t CRkSoundReader::_Tolerance() const {
  const AVRational timeBase = m_decoder.TimeBase();
  return std::max(av_rescale(int64_t{2} * timeBase.num, m_converter.SourceRate(), timeBase.den),
                  int64_t{m_converter.SourceRate() / 1000});
}
