/**
 * Maps as a graph in Graphviz's DOT language.
 */
#pragma once

#include "fabric_map.h"

#include <ostream>

namespace fcsctl {

/** A graph with a cluster for each VSAN that is added and, at last, a legend. */
class DotWriter {
public:
  explicit DotWriter(std::ostream &out);
  void add(const FabricMap &map);
  void finish();

private:
  std::ostream &out_;
};

} // namespace fcsctl
