#pragma once

#include "libraries/media/RkAv.h"

// Tells the packets that begin a picture from those that complete one: some streams store the two fields of
// a picture in a packet each. Packets come in file order. One thread at a time.
class CRkFieldPairs {
 public:
  explicit CRkFieldPairs(const AVCodecParameters& stream);

  bool CompletesPicture(const AVPacket& packet);

 private:
  CRkAv<AVCodecContext> m_codec;  // null for codecs whose packets are whole pictures
  CRkAv<AVCodecParserContext> m_parser;
  int m_firstField = AV_PICTURE_STRUCTURE_UNKNOWN;  // of the picture that its second field completes
};
