/**
 * What is linked or attached to what in a VSAN.
 */
#pragma once

#include "fabric_model.h"

#include <cstddef>
#include <string>
#include <vector>

namespace fabric_map {

/** A port of an element, by its place in the VSAN. */
struct PortPlace {
  size_t element;
  size_t port;
  auto operator<=>(const PortPlace &) const = default;
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
  size_t name;   ///< Its port's, by the place among the names that are attached to the port.
  size_t device; ///< A platform of the VSAN or, counted on from these, a stranger.
};

/**
 * An attached port name is the world-wide name of the port at the other end. If an element of the
 * VSAN has a port of that name the two are linked; otherwise a device is attached. Nothing says
 * which node a device's port belongs to, so the way in which devices number their names has to
 * tell: a node and its ports have the same MAC address, the last six octets of their names. The
 * device is therefore the platform of the VSAN that lists a node name with the port's MAC address,
 * the first one if there are several. Without such a platform the device is a stranger, known by
 * the name of its port.
 */
struct Wiring {
  std::vector<std::string> strangers;
  std::vector<Link> links; ///< Each once, however many of its ends tell of it.
  std::vector<Attachment> attachments;
};

Wiring find_wiring(const Vsan &vsan);

} // namespace fabric_map
