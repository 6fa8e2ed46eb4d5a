#pragma once

#include <string>

#include "contracts/RkKernel.h"
#include "libraries/media/RkAv.h"

namespace rkplay {

// Writes pictures of one format as PNG files, 8 bits a colour, without correcting the shape of the pixels.
// One thread at a time.
class PngWriter {
 public:
  // `matrix`: an AVColorSpace, how the pictures' planes make up colours. Throws UsageError when pictures
  // of the format cannot be written.
  PngWriter(const SRkVideoResolution& video, int matrix);

  // False, with the reason, when the file was not written; what was there under its name is then as before.
  bool Write(IRkAVPlaySample& sample, const std::string& path, std::string& reason);

 private:
  bool _OpenEncoder();
  bool _OpenConverter(int matrix);
  bool _Convert(IRkVideoSample& picture, std::string& reason);

  const SRkVideoResolution m_video;
  CRkAv<AVCodecContext> m_encoder;
  CRkAv<SwsContext> m_converter;
  CRkAv<AVFrame> m_rgb{av_frame_alloc()};
  CRkAv<AVPacket> m_packet{av_packet_alloc()};
};

}  // namespace rkplay
