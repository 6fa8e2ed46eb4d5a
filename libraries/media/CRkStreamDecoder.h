#pragma once

#include <string>

#include "libraries/media/CRkPacketSource.h"

// A decoder for the stream, without threads of its own. Null on failure; `reason` then says why.
CRkAv<AVCodecContext> RkOpenDecoder(const AVStream& stream, std::string& reason);

// The decoded frames of one stream of a file, in the order they are shown. One thread at a time; the
// decoder uses no threads of its own, for hundreds of them run beside each other.
class CRkStreamDecoder {
 public:
  // The times of the packet at which decoding continues after a seek.
  struct SRkLanding {
    int64_t pts;
    int64_t dts;
  };

  // Starts at the first frame of the stream of the index or, below 0, of the best stream of the type.
  // `splices` may be null.
  bool Open(const std::string& path, AVMediaType type, int stream, std::shared_ptr<const CRkSplices> splices,
            std::string& reason);

  // False at the end of what can be decoded. Packets that cannot are passed over.
  bool NextFrame(AVFrame* frame);
  // Whether the last call passed over a packet that cannot be decoded.
  bool HasFailed() const { return m_failed; }

  enum class ERkSeek { Landed, NothingThere, NotPossible };

  // Decoding continues at a key packet, normally at or before `timestamp`; `landing` receives its times.
  // After a failure there is nothing to decode.
  ERkSeek Seek(int64_t timestamp, SRkLanding* landing);
  // Back to the first frame. False when that cannot be read; then there is nothing to decode before the next
  // seek.
  bool Restart();

  AVStream* Stream() const { return m_source.Stream(); }
  AVRational TimeBase() const { return Stream()->time_base; }
  CRkPacketSource& Source() { return m_source; }

 private:
  bool _Feed();

  CRkPacketSource m_source;
  CRkAv<AVCodecContext> m_codec;
  CRkAv<AVPacket> m_packet{av_packet_alloc()};
  bool m_packetHeld = false;  // m_packet was read by Seek and is not decoded yet
  bool m_failed = false;
  bool m_ended = false;
};
