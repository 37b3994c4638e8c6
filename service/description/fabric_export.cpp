#include "fabric_json.h"

#include "service/fabric/fabric_counters.h"
#include "service/fabric/fabric_terms.h"
#include "service/store/fabric_reader.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace fcs {

namespace {

using Json = nlohmann::ordered_json;

/** Longest value, without its blanks, that is written in one line. */
constexpr size_t kLineWidth = 240;

/** A code's word, or the code itself when it has none. */
Json code_json(Terms terms, uint32_t code) {
  const auto word = word_of(terms, code);
  return word ? Json(*word) : Json(code);
}

/** A text where the octets are UTF-8, their hexadecimal form otherwise. */
Json octets_json(Octets octets) {
  Json text = text_of(octets);
  try {
    (void)text.dump();
    return text;
  } catch (const Json::type_error &) {
    return {{"hex", to_hex(octets, "")}};
  }
}

/** A number that is written without a fraction when it has none. */
Json real_json(double number) {
  return std::floor(number) == number ? Json(static_cast<int64_t>(number)) : Json(number);
}

Json discovery_json(const Vsan &vsan) {
  const fcs_disc_status_record &record = vsan.discovery;
  Json json;
  json["status"] = code_json(kDiscoveryStatuses, static_cast<uint32_t>(record.status));
  if (record.completed_seconds != 0 || record.completed_microseconds != 0) {
    json["completed"] = {{"seconds", record.completed_seconds},
                         {"microseconds", record.completed_microseconds}};
  }
  json["takesSeconds"] = real_json(vsan.discovery_takes_seconds);
  return json;
}

Json statistics_json(const FcsStatsRecord &record) {
  Json json;
  for (size_t i = 0; i < kCounterMembers.size(); ++i) {
    json[std::string(kCounterMembers[i])] = record.*kCounterWords[i];
  }
  return json;
}

Json port_json(FabricSource &fabric, const Port &port) {
  Json json;
  json["name"] = to_wwn(port.name);
  json["type"] = code_json(kPortTypes, port.type);
  json["txType"] = port.tx_type;
  json["moduleType"] = port.module_type;
  json["physicalPort"] = port.physical_port;
  json["state"] = code_json(kPortStates, port.state);
  if (port.attached_list != 0) {
    json["attachedList"] = port.attached_list;
    json["attached"] = Json::array();
    fabric.attached_names(port.attached_list, [&json](const Octets &name) {
      json["attached"].push_back(to_hex(name, ""));
    });
  }
  return json;
}

Json element_json(FabricSource &fabric, const Element &element) {
  const IeEntry &entry = element.entry;
  Octets info_list(entry.info_list);
  while (!info_list.empty() && info_list.back() == 0) {
    info_list = info_list.first(info_list.size() - 1);
  }
  Json json;
  json["name"] = to_wwn(entry.name);
  json["type"] = code_json(kElementTypes, entry.type);
  json["local"] = element.local;
  if (entry.domain_id != 0) {
    json["domainId"] = entry.domain_id;
  }
  json["mgmtId"] = to_hex(Octets(entry.mgmt_id).subspan(1), "");
  json["fabricName"] = to_wwn(entry.fabric_name);
  json["logicalName"] = octets_json(Octets(entry.logical_name, entry.logical_name_length));
  json["mgmtAddrList"] = entry.mgmt_addr_list_index;
  json["infoList"] = octets_json(info_list);
  json["portList"] = entry.port_list_index;
  json["ports"] = Json::array();
  if (entry.port_list_index != 0) {
    fabric.ports(entry.port_list_index,
                 [&](const Port &port) { json["ports"].push_back(port_json(fabric, port)); });
  }
  return json;
}

Json platform_json(const Platform &platform) {
  Json json;
  json["index"] = platform.index;
  json["name"] = octets_json(octets_of(platform.name));
  json["type"] = code_json(kPlatformTypes, platform.type);
  json["nodeNameList"] = platform.node_name_list;
  json["mgmtAddrList"] = platform.mgmt_addr_list;
  json["configured"] = platform.configured;
  json["validationResult"] = platform.validation_result;
  return json;
}

Json vsan_json(FabricSource &fabric, const Vsan &vsan) {
  const uint32_t id = vsan.discovery.vsan;
  Json json;
  json["id"] = id;
  json["discovery"] = discovery_json(vsan);
  json["statistics"] = statistics_json(vsan.statistics);
  json["elements"] = Json::array();
  fabric.elements(id, [&](const Element &element) {
    json["elements"].push_back(element_json(fabric, element));
  });
  json["platforms"] = Json::array();
  fabric.platforms(
      id, [&](const Platform &platform) { json["platforms"].push_back(platform_json(platform)); });
  return json;
}

Json node_name_list_json(FabricSource &fabric, uint32_t list) {
  Json json;
  json["index"] = list;
  json["names"] = Json::array();
  fabric.node_names(list, [&json](const NodeName &name) {
    const std::string text = to_wwn(name.name);
    json["names"].push_back(name.configured ? Json{{"name", text}, {"configured", true}}
                                            : Json(text));
  });
  return json;
}

Json mgmt_addr_list_json(FabricSource &fabric, uint32_t list) {
  Json json;
  json["index"] = list;
  json["addresses"] = Json::array();
  fabric.mgmt_addrs(list, [&json](const MgmtAddr &address) {
    json["addresses"].push_back({{"index", address.index},
                                 {"address", octets_json(octets_of(address.address))},
                                 {"configured", address.configured}});
  });
  return json;
}

/** Whether a value is small and flat: at most lists of plain values within it. */
bool fits_on_line(const Json &json) {
  return json.dump().size() <= kLineWidth && std::ranges::all_of(json, [](const Json &member) {
           return !member.is_structured() ||
                  (member.is_array() && std::ranges::none_of(member, &Json::is_structured));
         });
}

/**
 * Writes a value, each container in one line if it fits, so that a port or an address that changed
 * is one changed line; otherwise its members stand on lines of their own.
 */
void write_json(std::ostream &out, const Json &json, size_t indent) {
  if (!json.is_structured() || json.empty()) {
    out << json.dump();
    return;
  }
  const bool one_line = fits_on_line(json);
  const std::string margin = one_line ? " " : "\n" + std::string(indent + 2, ' ');
  const char *separator = "";
  out << (json.is_object() ? '{' : '[');
  for (const auto &[key, member] : json.items()) {
    out << separator << (one_line && *separator == '\0' ? "" : margin);
    if (json.is_object()) {
      out << Json(key).dump() << ": ";
    }
    write_json(out, member, indent + 2);
    separator = ",";
  }
  if (!one_line) {
    out << '\n' << std::string(indent, ' ');
  }
  out << (json.is_object() ? '}' : ']');
}

/** A member of the document that is an array of entries, written one by one. */
class Section {
public:
  Section(std::ostream &out, const char *name) : out_(out) { out_ << ",\n  \"" << name << "\": ["; }
  Section(const Section &) = delete;
  Section &operator=(const Section &) = delete;
  ~Section() { out_ << (empty_ ? "]" : "\n  ]"); }

  void add(const Json &entry) {
    out_ << (empty_ ? "\n    " : ",\n    ");
    empty_ = false;
    write_json(out_, entry, 4);
  }

private:
  std::ostream &out_;
  bool empty_ = true;
};

} // namespace

void write_description(FabricSource &fabric, std::ostream &out) {
  out << "{\n  \"comment\": " << octets_json(octets_of(fabric.comment())).dump();
  {
    Section section(out, "nodeNameLists");
    fabric.node_name_lists(
        [&](const uint32_t &list) { section.add(node_name_list_json(fabric, list)); });
  }
  {
    Section section(out, "mgmtAddrLists");
    fabric.mgmt_addr_lists(
        [&](const uint32_t &list) { section.add(mgmt_addr_list_json(fabric, list)); });
  }
  {
    Section section(out, "vsans");
    fabric.vsans([&](const Vsan &vsan) { section.add(vsan_json(fabric, vsan)); });
  }
  out << "\n}\n";
}

void export_fabric(FabricStore &store, std::ostream &out) {
  try {
    FabricReader reader(store);
    write_description(reader, out);
  } catch (const SqliteError &error) {
    throw std::runtime_error("cannot read the store " + store.path() + ": " + error.what());
  }
}

} // namespace fcs
