#include <string>

#include "libraries/media/CRkStreamDecoder.h"
#include "libraries/media/SRkMediaSource.h"

namespace {

CRkAv<AVFrame> Decode(AVStream& stream) {
  std::string reason;
  const CRkAv<AVCodecContext> codec = RkOpenDecoder(stream, reason);
  CRkAv<AVFrame> picture(av_frame_alloc());
  if (codec == nullptr || picture == nullptr) return nullptr;
  avcodec_send_packet(codec.get(), &stream.attached_pic);
  avcodec_send_packet(codec.get(), nullptr);
  return avcodec_receive_frame(codec.get(), picture.get()) >= 0 ? std::move(picture) : nullptr;
}

}  // namespace

CRkAv<AVFrame> RkReadCover(const std::string& path) {
  CRkPacketSource file;
  std::string reason;
  if (!file.Open(path, reason)) return nullptr;
  for (unsigned i = 0; i < file.Format()->nb_streams; ++i) {
    AVStream* stream = file.Format()->streams[i];
    if ((stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) continue;
    CRkAv<AVFrame> picture = Decode(*stream);
    if (picture == nullptr) continue;
    RkCompletePicture(file.Format(), stream, picture.get());
    if (RkWhyNotConvertible(*picture).empty()) return picture;
  }
  return nullptr;
}
