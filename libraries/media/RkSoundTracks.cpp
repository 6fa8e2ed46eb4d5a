#include "libraries/media/RkSoundTracks.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

extern "C" {
#include <libavutil/avstring.h>
}

namespace {

// Tracks that differ in these serve different listeners.
constexpr int kServices = AV_DISPOSITION_DUB | AV_DISPOSITION_ORIGINAL | AV_DISPOSITION_COMMENT |
                          AV_DISPOSITION_KARAOKE | AV_DISPOSITION_HEARING_IMPAIRED |
                          AV_DISPOSITION_VISUAL_IMPAIRED | AV_DISPOSITION_CLEAN_EFFECTS |
                          AV_DISPOSITION_DESCRIPTIONS | AV_DISPOSITION_DEPENDENT;

// The sound tracks to choose from, numbered from 1 by their place.
class CRkTrackChoice {
 public:
  explicit CRkTrackChoice(AVFormatContext* file) : m_file(file) {
    const int picture = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    const AVCodec* decoder = nullptr;  // of those that can be decoded
    m_best = av_find_best_stream(file, AVMEDIA_TYPE_AUDIO, -1, picture, &decoder, 0);
    const AVProgram* programme = av_find_program_from_stream(file, nullptr, picture);
    if (picture >= 0 && programme != nullptr) {
      for (unsigned i = 0; i < programme->nb_stream_indexes; ++i) _Add(programme->stream_index[i]);
      std::sort(m_streams.begin(), m_streams.end());
    }
    const bool inProgramme = !m_streams.empty();
    for (unsigned i = 0; !inProgramme && i < file->nb_streams; ++i) _Add(i);
  }

  const std::vector<int>& All() const { return m_streams; }

  // Mono tracks of one kind are the channels of one recording. Any other track is complete.
  std::vector<int> Default(const std::vector<int>& among) const {
    if (among.empty()) return {};
    const bool hasBest = std::find(among.begin(), among.end(), m_best) != among.end();
    const int lead = hasBest ? m_best : among.front();
    if (_Parameters(lead).ch_layout.nb_channels != 1) return {lead};
    std::vector<int> group;
    std::copy_if(among.begin(), among.end(), std::back_inserter(group),
                 [&](int stream) { return _IsLike(stream, lead); });
    return group;
  }

  std::vector<int> OfLanguage(const std::string& language) const {
    std::vector<int> found;
    std::copy_if(m_streams.begin(), m_streams.end(), std::back_inserter(found),
                 [&](int stream) { return av_strcasecmp(_Language(stream).c_str(), language.c_str()) == 0; });
    return found;
  }

  // "2 sound tracks not used: 2 (deu), 3 (fra)"
  std::string NameUnused(const std::vector<int>& used) const {
    std::string names;
    int count = 0;
    for (size_t i = 0; i < m_streams.size(); ++i) {
      if (std::find(used.begin(), used.end(), m_streams[i]) != used.end()) continue;
      names += (count++ > 0 ? ", " : "") + std::to_string(i + 1);
      const std::string language = _Language(m_streams[i]);
      if (!language.empty()) names += " (" + language + ")";
    }
    if (count == 0) return "";
    return std::to_string(count) + (count == 1 ? " sound track" : " sound tracks") + " not used: " + names;
  }

 private:
  void _Add(unsigned stream) {
    if (m_file->streams[stream]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
      m_streams.push_back(static_cast<int>(stream));
  }
  const AVCodecParameters& _Parameters(int stream) const { return *m_file->streams[stream]->codecpar; }
  // Empty where it is not stated.
  std::string _Language(int stream) const {
    const AVDictionaryEntry* tag = av_dict_get(m_file->streams[stream]->metadata, "language", nullptr, 0);
    return tag == nullptr || std::strcmp(tag->value, "und") == 0 ? "" : tag->value;
  }
  bool _IsLike(int stream, int lead) const {
    const AVCodecParameters& one = _Parameters(stream);
    const AVCodecParameters& other = _Parameters(lead);
    const int dispositions = m_file->streams[stream]->disposition ^ m_file->streams[lead]->disposition;
    return one.codec_id == other.codec_id && one.sample_rate == other.sample_rate &&
           one.ch_layout.nb_channels == 1 && (dispositions & kServices) == 0 &&
           _Language(stream) == _Language(lead);
  }

  AVFormatContext* m_file;
  int m_best = -1;
  std::vector<int> m_streams;
};

// The numbers of "1+2"; nothing where the text is no such list.
std::optional<std::vector<size_t>> ParseNumbers(const std::string& text) {
  std::vector<size_t> numbers;
  const char* at = text.data();
  const char* end = at + text.size();
  for (;; ++at) {
    size_t number = 0;
    const auto [rest, error] = std::from_chars(at, end, number);
    if (error != std::errc() || number == 0) return std::nullopt;
    numbers.push_back(number);
    at = rest;
    if (at == end) return numbers;
    if (*at != '+') return std::nullopt;
  }
}

bool FindChosen(const CRkTrackChoice& tracks, const std::string& choice, std::vector<int>* chosen,
                std::string& reason) {
  if (choice.empty()) {
    *chosen = tracks.Default(tracks.All());
  } else if (choice == "all") {
    *chosen = tracks.All();
  } else if (const auto numbers = ParseNumbers(choice)) {
    for (const size_t number : *numbers) {
      if (number > tracks.All().size()) {
        reason = "it has no sound track " + std::to_string(number);
        return false;
      }
      chosen->push_back(tracks.All()[number - 1]);
    }
  } else {
    *chosen = tracks.Default(tracks.OfLanguage(choice));
    if (chosen->empty()) {
      reason = "it has no sound track of the language '" + choice + "'";
      return false;
    }
  }
  return true;
}

}  // namespace

int SRkSoundTracks::Channels() const {
  int channels = 0;
  for (const SRkSoundTrack& track : used) channels += track.channels;
  return channels;
}

bool RkChooseSoundTracks(AVFormatContext* file, const char* choice, SRkSoundTracks* tracks,
                         std::string& reason) {
  const CRkTrackChoice candidates(file);
  if (candidates.All().empty()) return true;
  std::vector<int> chosen;
  if (!FindChosen(candidates, choice == nullptr ? "" : choice, &chosen, reason)) return false;
  for (const int stream : chosen) {
    const AVCodecParameters& parameters = *file->streams[stream]->codecpar;
    if (avcodec_find_decoder(parameters.codec_id) == nullptr) {
      reason = RkAvErrorText(AVERROR_DECODER_NOT_FOUND);
      return false;
    }
    tracks->used.push_back({stream, parameters.ch_layout.nb_channels});
  }
  tracks->unused = candidates.NameUnused(chosen);
  return true;
}
