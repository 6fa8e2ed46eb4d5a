#pragma once

#include <memory>
#include <string>
#include <vector>

#include "libraries/media/CRkFieldPairs.h"
#include "libraries/media/CRkPacketSource.h"
#include "libraries/media/RkSoundTracks.h"

// A file read once from its beginning, picture and sound together: the first frame of each that can be
// decoded, and the times of all packets that have been read. One thread at a time.
class CRkFileSurvey {
 public:
  // Opens the file and chooses its sound tracks, of which the first is surveyed. False when that fails or
  // when a stream that is there cannot be decoded. `audioTracks` is that of SRkMediaOptions.
  bool Open(const std::string& path, const char* audioTracks, SRkSoundTracks* sound, std::string& reason);

  bool HasPictures() const { return m_pictures.stream != nullptr; }
  bool HasCover() const;  // a picture that goes with the sound
  bool HasSound() const { return m_sound.stream != nullptr; }
  AVStream* PictureStream() const { return m_pictures.stream; }
  AVStream* SoundStream() const { return m_sound.stream; }
  // With the stream of the pictures selected, or that of the sound without pictures.
  CRkPacketSource& Source() { return m_source; }

  // Reads a packet. False at the end of the file.
  bool ReadOn();
  bool HasEnded() const { return m_hasEnded; }
  // Reads on until both streams have given a frame.
  void ReadFirstFrames();
  // Null where none has been decoded.
  const AVFrame* FirstPicture() const { return m_pictures.hasFrame ? m_pictures.frame.get() : nullptr; }
  const AVFrame* FirstSound() const { return m_sound.hasFrame ? m_sound.frame.get() : nullptr; }

  // In file order, without pictures that are decoded for others' sake but never shown.
  const std::vector<SRkStoredPicture>& Pictures() const { return m_stored; }
  // Of the sound that has been read, without the padding of codecs; ticks of its stream.
  struct SRkSoundSpan {
    int64_t first = INT64_MAX;
    int64_t end = INT64_MIN;
    int64_t lastStart = AV_NOPTS_VALUE;  // of the last packet
    int64_t lastEnd = 0;
    int64_t lastPosition = -1;
  };
  const SRkSoundSpan& Sound() const { return m_span; }

 private:
  // A stream that is decoded up to its first frame.
  struct SRkLead {
    AVStream* stream = nullptr;
    CRkAv<AVCodecContext> codec;
    CRkAv<AVFrame> frame{av_frame_alloc()};
    bool hasFrame = false;

    void Feed(const AVPacket* packet);
  };

  bool _OpenLead(int stream, SRkLead* lead, std::string& reason);
  void _KeepPicture(const AVPacket& packet);
  void _KeepSound(const AVPacket& packet);

  CRkPacketSource m_source;
  CRkAv<AVPacket> m_packet{av_packet_alloc()};
  SRkLead m_pictures;
  SRkLead m_sound;
  std::unique_ptr<CRkFieldPairs> m_fields;
  std::vector<SRkStoredPicture> m_stored;
  SRkSoundSpan m_span;
  int64_t m_untimed = 0;
  bool m_hasEnded = false;
};
