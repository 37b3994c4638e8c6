/**
 * The map of a VSAN: what is linked or attached to what.
 */
#pragma once

#include "service/fabric/fabric_source.h"

#include <map>
#include <string>
#include <vector>

namespace fcsctl {

/** A port of an element, by its place in the map. */
struct PortPlace {
  size_t element;
  size_t port;
  auto operator<=>(const PortPlace &) const = default;
};

struct MappedElement {
  fcs::Element element;
  std::vector<fcs::Port> ports;
};

/** Two ports, the lesser place first. */
struct Link {
  PortPlace a;
  PortPlace b;
  auto operator<=>(const Link &) const = default;
};

/** What is attached to a port of an element without being an element's port itself. */
struct Attachment {
  PortPlace port;
  size_t device; ///< Of `platforms` or `strangers`.
  bool is_stranger;
};

/**
 * A VSAN as it is drawn.
 *
 * An attached port name begins with the world-wide name of the port at the other end. If an element
 * of the VSAN has a port of that name the two are linked; otherwise a device is attached. A fabric
 * description does not say which node a device's port belongs to, so the way in which devices
 * number their names has to tell: a node and its ports have the same MAC address, the last six
 * octets of their names. The device is therefore the platform of the VSAN that lists a node name
 * with the port's MAC address, the first one if there are several. Without such a platform the
 * device is a stranger, known by the name of its port.
 */
struct FabricMap {
  fcs::Vsan vsan;
  std::vector<MappedElement> elements;
  std::vector<PlatformEntry> platforms; ///< Attached or not.
  std::vector<fcs::Wwn> strangers;
  std::vector<Link> links; ///< Each once, however many of its ends tell of it.
  std::vector<Attachment> attachments;
};

FabricMap map_vsan(fcs::FabricSource &fabric, const fcs::Vsan &vsan);

} // namespace fcsctl
