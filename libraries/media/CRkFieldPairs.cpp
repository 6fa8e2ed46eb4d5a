#include "libraries/media/CRkFieldPairs.h"

CRkFieldPairs::CRkFieldPairs(const AVCodecParameters& stream) {
  if (stream.codec_id != AV_CODEC_ID_H264) return;
  m_codec.reset(avcodec_alloc_context3(nullptr));
  m_parser.reset(av_parser_init(stream.codec_id));
  if (m_codec == nullptr || m_parser == nullptr ||
      avcodec_parameters_to_context(m_codec.get(), &stream) < 0) {
    m_parser.reset();
    return;
  }
  m_parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

bool CRkFieldPairs::CompletesPicture(const AVPacket& packet) {
  if (m_parser == nullptr) return false;
  uint8_t* data = nullptr;
  int size = 0;
  av_parser_parse2(m_parser.get(), m_codec.get(), &data, &size, packet.data, packet.size, packet.pts,
                   packet.dts, packet.pos);
  const int field = m_parser->picture_structure;
  const bool isField = field == AV_PICTURE_STRUCTURE_TOP_FIELD || field == AV_PICTURE_STRUCTURE_BOTTOM_FIELD;
  const bool completes = isField && m_firstField != AV_PICTURE_STRUCTURE_UNKNOWN && m_firstField != field;
  m_firstField = isField && !completes ? field : AV_PICTURE_STRUCTURE_UNKNOWN;
  return completes;
}
