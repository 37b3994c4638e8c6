/**
 * A fabric as a map takes it, wherever it was read. World-wide names are written as
 * 20:01:00:00:5e:00:53:01; types and states are words, those of fabric descriptions where there is
 * one. Names of elements and platforms may hold any octets.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fabric_map {

struct Port {
  std::string wwn;
  uint32_t number = 0; ///< The physical one.
  std::string type;
  std::string state;
  std::vector<std::string> attached; ///< World-wide names of the ports at the other end.
};

/** An interconnect element. */
struct Element {
  std::string wwn;
  std::string name; ///< Empty when it has none.
  std::string type;
  uint32_t domain = 0; ///< 0 for none.
  bool is_local = false;
  std::vector<Port> ports;
};

struct Platform {
  std::string name;
  std::string type;
  std::vector<std::string> node_wwns;
};

struct Vsan {
  uint32_t id = 0;
  std::string discovery; ///< How its discovery stands.
  std::vector<Element> elements;
  std::vector<Platform> platforms;
};

} // namespace fabric_map
