/**
 * What a map needs to know of a stored or described fabric.
 */
#pragma once

#include "map/fabric_model.h"
#include "service/fabric/fabric_source.h"

namespace fcsctl {

/** Reads a VSAN with its elements, ports and platforms. */
fabric_map::Vsan read_for_map(fcs::FabricSource &fabric, const fcs::Vsan &vsan);

} // namespace fcsctl
