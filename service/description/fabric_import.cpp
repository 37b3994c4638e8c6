#include "fabric_json.h"

#include "json_document.h"
#include "service/fabric/fabric_counters.h"
#include "service/store/fabric_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>

namespace fcs {

using nlohmann::json;

namespace {

/** What a key that is taken means in a description. */
struct DuplicateText {
  std::string_view column;
  std::string_view member; ///< Empty: the row itself.
  const char *fault;
};

constexpr DuplicateText kDuplicates[] = {
    {"vsan.id", "id", "another VSAN has this id"},
    {"element.name", "name", "another element of this VSAN has this name"},
    {"element.vsan", "local", "the VSAN has another local element"},
    {"element.port_list", "portList", "another element has this port list"},
    {"port.name", "name", "another port of this VSAN has this name"},
    {"port.attached_list", "attachedList", "another port has this attached port name list"},
    {"attached_name.name", "", "the list has this name twice"},
    {"platform.platform_index", "index", "another platform of this VSAN has this index"},
    {"platform.name", "name", "another platform of this VSAN has this name"},
    {"node_name_list.list", "index", "another list has this index"},
    {"node_name.name", "", "this node name is listed already"},
    {"mgmt_addr_list.list", "index", "another list has this index"},
    {"mgmt_addr.address_index", "index", "another address of this list has this index"},
};

[[noreturn]] void refuse_duplicate(const Place &place, const DuplicateRow &duplicate) {
  for (const DuplicateText &text : kDuplicates) {
    if (duplicate.column() == text.column) {
      refuse(text.member.empty() ? place : Place(&place, text.member), text.fault);
    }
  }
  refuse(place, duplicate.what());
}

/** Makes `add` name the place when what it adds is there already. */
template <typename Add> void add_unique(const Place &place, Add add) {
  try {
    add();
  } catch (const DuplicateRow &duplicate) {
    refuse_duplicate(place, duplicate);
  }
}

/** The lists of one kind: which have been declared, and where one was first referred to. */
class ListReferences {
public:
  explicit ListReferences(const char *section) : section_(section) {}

  void declare(uint32_t list) { lists_[list].declared = true; }

  /** Reads a reference; 0 refers to no list. */
  uint32_t read(const ObjectReader &object, std::string_view member) {
    const uint32_t list = object.get_or(0U, member, read_number, 0U, kMaxIndex);
    if (list != 0) {
      const auto [found, is_new] = lists_.try_emplace(list);
      if (is_new) {
        found->second.place = object.at(member).text();
      }
    }
    return list;
  }

  /** Refuses a reference to a list that the document does not have. */
  void check() const {
    for (const auto &[index, list] : lists_) {
      if (!list.declared) {
        throw DescriptionFault(list.place + ": there is no list " + std::to_string(index) + " in " +
                               section_);
      }
    }
  }

private:
  struct List {
    bool declared = false;
    std::string place;
  };
  const char *section_;
  std::map<uint32_t, List> lists_;
};

constexpr double kDefaultDiscoverySeconds = 2;
constexpr double kMaxDiscoverySeconds = 86400;

class FabricImporter : public DocumentHandler {
public:
  FabricImporter(FabricWriter &writer, const ImportProgress &progress)
      : writer_(writer), progress_(progress) {}

  void begin_section(std::string_view section) override {
    section_ = std::ranges::find(kSections, section, &Section::name);
    if (section_ == std::end(kSections)) {
      refuse_member(section);
    }
    seen_vsans_ = seen_vsans_ || section == "vsans";
  }

  void entry(size_t index, const json &entry) override {
    const Place section(nullptr, section_->name);
    (this->*section_->read)(entry, Place(&section, index));
  }

  void member(std::string_view name, const json &value) override {
    if (name != "comment" || !value.is_string()) {
      refuse_member(name);
    }
    writer_.set_comment(value.get_ref<const std::string &>());
  }

  /** What can be judged only when everything has been read. */
  void finish() const {
    if (!seen_vsans_) {
      throw DescriptionFault("the member \"vsans\" is missing");
    }
    node_name_lists_.check();
    mgmt_addr_lists_.check();
  }

  const FabricTotals &totals() const { return totals_; }

private:
  struct Section {
    std::string_view name;
    void (FabricImporter::*read)(const json &, const Place &);
  };
  static const Section kSections[3];

  /** Refuses a member of the document that is unknown or of the wrong type. */
  [[noreturn]] static void refuse_member(std::string_view name) {
    const bool is_section =
        std::ranges::find(kSections, name, &Section::name) != std::end(kSections);
    refuse(Place(nullptr, name), name == "comment" ? "must be a string"
                                 : is_section      ? "must be an array"
                                                   : "unknown member");
  }

  void read_vsan(const json &value, const Place &place);
  void read_element(const json &value, const Place &place, uint32_t vsan);
  void read_port(const json &value, const Place &place, const Element &element);
  void read_platform(const json &value, const Place &place, uint32_t vsan);
  void read_node_name_list(const json &value, const Place &place);
  void read_node_name(const json &value, const Place &place, uint32_t list);
  void read_mgmt_addr_list(const json &value, const Place &place);
  void read_mgmt_addr(const json &value, const Place &place, uint32_t list);

  FabricWriter &writer_;
  const ImportProgress &progress_;
  const Section *section_ = nullptr;
  bool seen_vsans_ = false;
  FabricTotals totals_{};
  ListReferences node_name_lists_{"nodeNameLists"};
  ListReferences mgmt_addr_lists_{"mgmtAddrLists"};
};

const FabricImporter::Section FabricImporter::kSections[3] = {
    {"vsans", &FabricImporter::read_vsan},
    {"nodeNameLists", &FabricImporter::read_node_name_list},
    {"mgmtAddrLists", &FabricImporter::read_mgmt_addr_list},
};

fcs_disc_status_record read_discovery(const ObjectReader &vsan, double &takes_seconds) {
  fcs_disc_status_record record{};
  record.vsan = vsan.get("id", read_number, 1U, kMaxVsan);
  record.status = FCS_DISCOVERY_LOCAL_ONLY;
  takes_seconds = kDefaultDiscoverySeconds;
  const json *value = vsan.find("discovery");
  if (value == nullptr) {
    return record;
  }
  const Place place = vsan.at("discovery");
  const ObjectReader discovery(*value, place, {"status", "completed", "takesSeconds"});
  record.status = static_cast<int32_t>(discovery.get("status", read_word, kDiscoveryStatuses));
  takes_seconds =
      discovery.get_or(takes_seconds, "takesSeconds", read_real, 0.0, kMaxDiscoverySeconds);
  if (const json *time = discovery.find("completed")) {
    const Place time_place = discovery.at("completed");
    const ObjectReader completed(*time, time_place, {"seconds", "microseconds"});
    record.completed_seconds =
        static_cast<int32_t>(completed.get("seconds", read_number, 0U, kMaxIndex));
    record.completed_microseconds = completed.get_or(0, "microseconds", read_number, 0U, 999999U);
  }
  return record;
}

FcsStatsRecord read_statistics(const ObjectReader &vsan, uint32_t id) {
  FcsStatsRecord record{};
  record.vsan = id;
  if (const json *value = vsan.find("statistics")) {
    const Place place = vsan.at("statistics");
    const ObjectReader statistics(*value, place, kCounterMembers);
    for (size_t i = 0; i < kCounterMembers.size(); ++i) {
      record.*kCounterWords[i] =
          statistics.get_or(0U, kCounterMembers[i], read_number, 0U, 0xFFFFFFFFU);
    }
  }
  return record;
}

void FabricImporter::read_vsan(const json &value, const Place &place) {
  const ObjectReader object(value, place,
                            {"id", "discovery", "statistics", "elements", "platforms"});
  Vsan vsan{};
  vsan.discovery = read_discovery(object, vsan.discovery_takes_seconds);
  const uint32_t id = vsan.discovery.vsan;
  vsan.statistics = read_statistics(object, id);
  add_unique(place, [&] { writer_.add(vsan); });
  ++totals_.vsans;
  object.each("elements", [&](const json &item, const Place &at) { read_element(item, at, id); });
  object.each("platforms", [&](const json &item, const Place &at) { read_platform(item, at, id); });
  writer_.count_rows(id);
  if (progress_) {
    progress_(totals_.vsans);
  }
}

void FabricImporter::read_element(const json &value, const Place &place, uint32_t vsan) {
  const ObjectReader object(value, place,
                            {"name", "type", "local", "domainId", "mgmtId", "fabricName",
                             "logicalName", "mgmtAddrList", "infoList", "portList", "ports"});
  Element element{};
  IeEntry &entry = element.entry;
  entry.vsan = vsan;
  object.get("name", read_hex, std::span<uint8_t>(entry.name));
  entry.type = object.get("type", read_code, kElementTypes);
  element.local = object.get_or(false, "local", read_flag);
  entry.domain_id = object.get_or(0U, "domainId", read_number, 1U, kMaxDomainId);
  object.fill("mgmtId", std::span(entry.mgmt_id).subspan(1));
  object.fill("fabricName", entry.fabric_name);
  const std::string logical_name =
      object.get_or(std::string(), "logicalName", read_octets, sizeof(entry.logical_name));
  entry.logical_name_length = static_cast<uint8_t>(logical_name.size());
  std::ranges::copy(octets_of(logical_name), entry.logical_name);
  entry.mgmt_addr_list_index = mgmt_addr_lists_.read(object, "mgmtAddrList");
  const std::string info_list =
      object.get_or(std::string(), "infoList", read_octets, sizeof(entry.info_list));
  std::ranges::copy(octets_of(info_list), entry.info_list);
  entry.port_list_index = object.get_or(0U, "portList", read_number, 0U, kMaxIndex);
  add_unique(place, [&] { writer_.add(element); });
  ++totals_.elements;
  object.each("ports", [&](const json &item, const Place &at) { read_port(item, at, element); });
}

void FabricImporter::read_port(const json &value, const Place &place, const Element &element) {
  const ObjectReader object(value, place,
                            {"name", "type", "txType", "moduleType", "physicalPort", "state",
                             "attachedList", "attached"});
  if (element.entry.port_list_index == 0) {
    refuse(place, "the element has no \"portList\" to hold its ports");
  }
  Port port{};
  port.vsan = element.entry.vsan;
  object.get("name", read_hex, std::span<uint8_t>(port.name));
  port.port_list = element.entry.port_list_index;
  port.local = element.local;
  port.type = object.get("type", read_code, kPortTypes);
  port.tx_type = object.get_or(0U, "txType", read_number, 0U, 0xFFFFFFFFU);
  port.module_type = object.get_or(0U, "moduleType", read_number, 0U, 0xFFFFFFFFU);
  port.physical_port = object.get_or(0U, "physicalPort", read_number, 0U, 0xFFFFFFFFU);
  port.state = object.get_or(0U, "state", read_code, kPortStates);
  port.attached_list = object.get_or(0U, "attachedList", read_number, 0U, kMaxIndex);
  add_unique(place, [&] { writer_.add(port); });
  ++totals_.ports;
  object.each("attached", [&](const json &item, const Place &at) {
    if (port.attached_list == 0) {
      refuse(at, "the port has no \"attachedList\" to hold its attached port names");
    }
    std::array<uint8_t, FCS_ATTACHED_NAME_LENGTH> name{};
    read_hex(item, at, name);
    add_unique(at, [&] { writer_.add_attached_name(port, name); });
  });
}

void FabricImporter::read_platform(const json &value, const Place &place, uint32_t vsan) {
  const ObjectReader object(
      value, place,
      {"index", "name", "type", "nodeNameList", "mgmtAddrList", "configured", "validationResult"});
  Platform platform{};
  platform.vsan = vsan;
  platform.index = object.get("index", read_number, 1U, kMaxIndex);
  platform.name = object.get("name", read_octets, size_t{kMaxTextLength});
  platform.type = object.get("type", read_code, kPlatformTypes);
  platform.node_name_list = node_name_lists_.read(object, "nodeNameList");
  platform.mgmt_addr_list = mgmt_addr_lists_.read(object, "mgmtAddrList");
  platform.configured = object.get_or(false, "configured", read_flag);
  platform.validation_result = object.get_or(1U, "validationResult", read_number, 0U, 3U);
  add_unique(place, [&] { writer_.add(platform); });
  ++totals_.platforms;
}

void FabricImporter::read_node_name_list(const json &value, const Place &place) {
  const ObjectReader object(value, place, {"index", "names"});
  const uint32_t list = object.get("index", read_number, 1U, kMaxIndex);
  node_name_lists_.declare(list);
  add_unique(place, [&] { writer_.add_node_name_list(list); });
  object.each("names", [&](const json &item, const Place &at) { read_node_name(item, at, list); });
}

/** A node name is written as such, or as an object when there is more to say. */
void FabricImporter::read_node_name(const json &value, const Place &place, uint32_t list) {
  NodeName name{};
  name.list = list;
  if (value.is_object()) {
    const ObjectReader object(value, place, {"name", "configured"});
    object.get("name", read_hex, std::span<uint8_t>(name.name));
    name.configured = object.get_or(false, "configured", read_flag);
  } else {
    read_hex(value, place, name.name);
  }
  add_unique(place, [&] { writer_.add(name); });
}

void FabricImporter::read_mgmt_addr_list(const json &value, const Place &place) {
  const ObjectReader object(value, place, {"index", "addresses"});
  const uint32_t list = object.get("index", read_number, 1U, kMaxIndex);
  mgmt_addr_lists_.declare(list);
  add_unique(place, [&] { writer_.add_mgmt_addr_list(list); });
  object.each("addresses",
              [&](const json &item, const Place &at) { read_mgmt_addr(item, at, list); });
}

void FabricImporter::read_mgmt_addr(const json &value, const Place &place, uint32_t list) {
  const ObjectReader object(value, place, {"index", "address", "configured"});
  const MgmtAddr address{list, object.get("index", read_number, 1U, kMaxIndex),
                         object.get("address", read_octets, size_t{kMaxTextLength}),
                         object.get_or(false, "configured", read_flag)};
  add_unique(place, [&] { writer_.add(address); });
}

} // namespace

FabricTotals import_fabric(FabricStore &store, std::istream &in, const std::string &source_name,
                           const ImportProgress &progress) {
  try {
    FabricWriter writer(store);
    FabricImporter importer(writer, progress);
    read_document(in, importer);
    importer.finish();
    if (in.bad()) {
      throw DescriptionFault("reading failed");
    }
    writer.commit();
    return importer.totals();
  } catch (const DescriptionFault &fault) {
    throw std::runtime_error(source_name + ": " + fault.what());
  } catch (const SqliteError &error) {
    throw std::runtime_error("cannot write the store " + store.path() + ": " + error.what());
  }
}

FabricTotals import_fabric_file(FabricStore &store, const std::string &path,
                                const ImportProgress &progress) {
  errno = 0;
  std::ifstream in(path);
  if (!in) {
    throw std::runtime_error(path + ": cannot be opened: " + std::strerror(errno));
  }
  return import_fabric(store, in, path, progress);
}

} // namespace fcs
