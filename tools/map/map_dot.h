/**
 * Maps as a graph in Graphviz's DOT language, to be drawn by its program dot.
 */
#pragma once

#include "fabric_model.h"

#include <cstddef>
#include <ostream>

namespace fabric_map {

enum class Detail {
  kPorts,   ///< Every port, device and link.
  kSummary, ///< The elements, with the links between each two of them bundled.
};

/** A graph with a cluster for each VSAN that is added and, at last, a legend. */
class DotWriter {
public:
  DotWriter(std::ostream &out, Detail detail);
  void add(const Vsan &vsan);
  void finish();

private:
  std::ostream &out_;
  Detail detail_;
  size_t vsans_ = 0;
  size_t longest_row_ = 1;
};

} // namespace fabric_map
