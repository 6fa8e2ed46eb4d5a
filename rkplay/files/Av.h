#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

#include "rkplay/files/PicturePlanes.h"

namespace rkplay {

struct AvDelete {
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

// Owns an object of the media libraries.
template <class T>
using AvPtr = std::unique_ptr<T, AvDelete>;

// A scaler from pictures of the format to full-range RGB of the given layout and size. Null when there is
// none.
AvPtr<SwsContext> MakeRgbScaler(const SRkVideoResolution& from, AVPixelFormat to, int width, int height,
                                int flags);

// Scales one whole picture of the format. False when the scaler fails.
bool Scale(SwsContext& scaler, const PicturePlanes& picture, const SRkVideoResolution& format,
           uint8_t* const rows[], const int strides[]);

}  // namespace rkplay
