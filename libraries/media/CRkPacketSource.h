#pragma once

#include <memory>
#include <string>

#include "libraries/media/CRkInput.h"
#include "libraries/media/CRkSplices.h"

// The packets of one stream of a file. Picture and sound are read through a source each, so that either
// can seek without disturbing the other.
//
// One thread at a time. Damage is passed over; what cannot be passed over ends the packets.
class CRkPacketSource {
 public:
  // Opens the file or address; no stream is selected yet. `reason` says in a few words why it failed.
  bool Open(const std::string& path, std::string& reason);

  // The index of the stream to play of the type; AVERROR_STREAM_NOT_FOUND when there is none,
  // AVERROR_DECODER_NOT_FOUND when it cannot be decoded. Cover art is no picture.
  int FindStream(AVMediaType type) const;
  void Select(int stream);
  // From now on packets carry times of the continuous timeline, and seeks take them. May be null.
  void SetSplices(std::shared_ptr<const CRkSplices> splices) { m_splices = std::move(splices); }

  // By how much the times of the last packet were shifted: it changes where the timestamps jump.
  int64_t Shift() const { return m_shift; }

  AVStream* Stream() const { return m_format->streams[m_stream]; }
  AVFormatContext* Format() const { return m_format.get(); }
  // As CRkInput's.
  std::string Refusal() const { return m_format.Refusal(); }

  // False at the end.
  bool Read(AVPacket* packet);
  // Seeks to a place from which everything at `timestamp` (of the selected stream) can be decoded. Some
  // containers' indexes are wrong, so callers check where the packets continue.
  bool SeekBefore(int64_t timestamp);
  // Back to the very first packet. False, and no change, when the file cannot be opened any more.
  bool Restart();

 private:
  void _Shift(AVPacket* packet);
  int64_t _Earliest() const;

  std::string m_path;
  CRkInput m_format;
  int m_stream = -1;
  int m_indexStream = -1;
  std::shared_ptr<const CRkSplices> m_splices;
  int64_t m_shift = 0;     // of the last packet's times
  int64_t m_position = 0;  // of the last packet that states one
};
