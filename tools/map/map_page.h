/**
 * Maps as one page for a browser, which holds all that it needs and works without a network.
 */
#pragma once

#include "fabric_model.h"
#include "page_data.h"

#include <ostream>
#include <vector>

namespace fabric_map {

/** A page with the VSANs that are added; it is whole once it is finished. */
class PageWriter {
public:
  explicit PageWriter(std::ostream &out);
  void add(const Vsan &vsan);
  void finish();

private:
  std::ostream &out_;
  std::vector<VsanFigures> vsans_;
};

} // namespace fabric_map
