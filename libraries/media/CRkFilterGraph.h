#pragma once

#include <string>

#include "libraries/media/RkAv.h"

// A chain of the library's filters from one input to one output. It is built for pictures of one size and
// pixel format; their times are numbers that the caller gives. One thread at a time.
class CRkFilterGraph {
 public:
  // `chain`: filters with their options, separated by commas. False when the chain does not take pictures
  // like the given one; there is no chain then.
  bool Build(const std::string& chain, const AVFrame& like);
  void Reset() { m_graph.reset(); }
  bool IsBuilt() const { return m_graph != nullptr; }

  // Takes a reference to the picture; null marks the end. False on failure.
  bool Put(const AVFrame* picture);
  // False when the chain needs another picture first.
  bool Take(AVFrame* picture);

 private:
  bool _Connect(const std::string& chain);

  CRkAv<AVFilterGraph> m_graph;
  AVFilterContext* m_input = nullptr;  // owned by the graph, like m_output
  AVFilterContext* m_output = nullptr;
};
