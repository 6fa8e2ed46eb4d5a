#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include "contracts/RkMediaRecords.h"

// Owners of the media libraries' objects, and the few things that every user of those libraries needs.

struct SRkAvDelete {
  void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
  void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
  void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};

template <class T>
using CRkAv = std::unique_ptr<T, SRkAvDelete>;

// A few words on a library's failure code.
inline std::string RkAvErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof(text));
  return text;
}

// The longest side of a picture that is read or delivered, in pixels.
inline constexpr int kRkMaxPictureSide = 16384;

inline AVPixelFormat RkAvPixelFormat(int pixelFormat) {
  switch (pixelFormat) {
    case RkPixelFormat_I422:
      return AV_PIX_FMT_YUV422P;
    case RkPixelFormat_I444:
      return AV_PIX_FMT_YUV444P;
    default:
      return AV_PIX_FMT_YUV420P;
  }
}

inline AVRational RkAvFrameRate(int frameRate) {
  return {static_cast<int>(kRkFrameRates[frameRate].numerator),
          static_cast<int>(kRkFrameRates[frameRate].denominator)};
}
