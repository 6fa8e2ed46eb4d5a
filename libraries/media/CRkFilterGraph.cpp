#include "libraries/media/CRkFilterGraph.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

bool CRkFilterGraph::Build(const std::string& chain, const AVFrame& like) {
  m_graph.reset(avfilter_graph_alloc());
  if (m_graph == nullptr) return false;
  m_graph->nb_threads = 1;  // hundreds of graphs may run side by side
  m_input = avfilter_graph_alloc_filter(m_graph.get(), avfilter_get_by_name("buffer"), "in");
  AVBufferSrcParameters* parameters = av_buffersrc_parameters_alloc();
  bool built = m_input != nullptr && parameters != nullptr;
  if (built) {
    parameters->format = like.format;
    parameters->width = like.width;
    parameters->height = like.height;
    parameters->time_base = {1, 1};
    parameters->sample_aspect_ratio = like.sample_aspect_ratio;
    built = av_buffersrc_parameters_set(m_input, parameters) >= 0 &&
            avfilter_init_str(m_input, nullptr) >= 0 &&
            avfilter_graph_create_filter(&m_output, avfilter_get_by_name("buffersink"), "out", nullptr,
                                         nullptr, m_graph.get()) >= 0 &&
            _Connect(chain);
  }
  av_free(parameters);
  if (!built) m_graph.reset();
  return built;
}

// The names are those of the chain's open ends: its input is fed by ours, its output feeds ours.
bool CRkFilterGraph::_Connect(const std::string& chain) {
  AVFilterInOut* inputs = nullptr;
  AVFilterInOut* outputs = nullptr;
  const bool parsed = avfilter_graph_parse2(m_graph.get(), chain.c_str(), &inputs, &outputs) >= 0 &&
                      inputs != nullptr && outputs != nullptr;
  const bool connected =
      parsed && avfilter_link(m_input, 0, inputs->filter_ctx, static_cast<unsigned>(inputs->pad_idx)) >= 0 &&
      avfilter_link(outputs->filter_ctx, static_cast<unsigned>(outputs->pad_idx), m_output, 0) >= 0 &&
      avfilter_graph_config(m_graph.get(), nullptr) >= 0;
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  return connected;
}

bool CRkFilterGraph::Put(const AVFrame* picture) {
  // The reference is the graph's; the picture, which the filters do not change, stays the caller's.
  return av_buffersrc_write_frame(m_input, picture) >= 0;
}

bool CRkFilterGraph::Take(AVFrame* picture) {
  av_frame_unref(picture);
  return av_buffersink_get_frame(m_output, picture) >= 0;
}
