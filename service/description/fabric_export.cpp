#include "fabric_json.h"

#include "service/fabric/fabric_columns.h"
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

Json member_json(const JsonMember &member, uint32_t word) {
  switch (member.form) {
  case Form::kCode: return code_json(*member.terms, word);
  case Form::kFlag: return word != 0;
  default: return word;
  }
}

Json member_json(const JsonMember &member, Octets octets) {
  switch (member.form) {
  case Form::kWwn: return to_wwn(octets);
  case Form::kAddressId: return to_hex(octets.subspan(1), "");
  default: return octets_json(octets);
  }
}

/** The members that tell the columns of the row. */
template <typename Row> Json row_json(const Row &row) {
  Json json;
  visit_columns(row, [&json](const char *, const auto &field, const JsonMember &member) {
    const Json value = member_json(member, value_of(field));
    if (member.form != Form::kElsewhere && !(member.omits_zero && value == 0)) {
      json[std::string(member.name)] = value;
    }
  });
  return json;
}

Json port_json(FabricSource &fabric, const Port &port) {
  Json json = row_json(port);
  if (port.attached_list_index != 0) {
    json["attached"] = Json::array();
    fabric.attached_names(port.attached_list_index, [&json](const Octets &name) {
      json["attached"].push_back(to_hex(name, ""));
    });
  }
  return json;
}

Json element_json(FabricSource &fabric, const Element &element) {
  Json json = row_json(element);
  json["ports"] = Json::array();
  if (element.port_list_index != 0) {
    fabric.ports(element.port_list_index,
                 [&](const Port &port) { json["ports"].push_back(port_json(fabric, port)); });
  }
  return json;
}

Json vsan_json(FabricSource &fabric, const Vsan &vsan) {
  const uint32_t id = vsan.discovery.vsan;
  Json json;
  json["id"] = id;
  json["discovery"] = discovery_json(vsan);
  json["statistics"] = row_json(vsan.statistics);
  json["elements"] = Json::array();
  fabric.elements(id, [&](const Element &element) {
    json["elements"].push_back(element_json(fabric, element));
  });
  json["platforms"] = Json::array();
  fabric.platforms(
      id, [&](const PlatformEntry &platform) { json["platforms"].push_back(row_json(platform)); });
  return json;
}

Json node_name_list_json(FabricSource &fabric, uint32_t list) {
  Json json;
  json["index"] = list;
  json["names"] = Json::array();
  fabric.node_names(list, [&json](const NodeNameEntry &name) {
    json["names"].push_back(name.config_source != 0 ? row_json(name) : Json(to_wwn(name.name)));
  });
  return json;
}

Json mgmt_addr_list_json(FabricSource &fabric, uint32_t list) {
  Json json;
  json["index"] = list;
  json["addresses"] = Json::array();
  fabric.mgmt_addrs(list, [&json](const MgmtAddrEntry &address) {
    json["addresses"].push_back(row_json(address));
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
  Section(std::ostream &out, std::string_view name) : out_(out) {
    out_ << ",\n  \"" << name << "\": [";
  }
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
    Section section(out, kNodeNameLists);
    fabric.node_name_lists(
        [&](const uint32_t &list) { section.add(node_name_list_json(fabric, list)); });
  }
  {
    Section section(out, kMgmtAddrLists);
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
