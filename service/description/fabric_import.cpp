#include "fabric_json.h"

#include "json_document.h"
#include "service/fabric/fabric_columns.h"
#include "service/store/fabric_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <vector>

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
  explicit ListReferences(std::string_view section) : section_(section) {}

  std::string_view section() const { return section_; }
  void declare(uint32_t list) { lists_[list].declared = true; }

  /** A reference; 0 refers to no list. */
  void refer(uint32_t list, const Place &place) {
    if (list != 0) {
      const auto [found, is_new] = lists_.try_emplace(list);
      if (is_new) {
        found->second.place = place.text();
      }
    }
  }

  /** Refuses a reference to a list that the document does not have. */
  void check() const {
    for (const auto &[index, list] : lists_) {
      if (!list.declared) {
        throw DescriptionFault(list.place + ": there is no list " + std::to_string(index) + " in " +
                               std::string(section_));
      }
    }
  }

private:
  struct List {
    bool declared = false;
    std::string place;
  };
  std::string_view section_;
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
    for (const ListReferences &lists : lists_) {
      lists.check();
    }
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

  ListReferences &lists(std::string_view section) {
    return *std::ranges::find(lists_, section, &ListReferences::section);
  }

  /** Reads the members that tell the columns of the row. */
  template <typename Row> void read_row(const ObjectReader &object, Row &row);
  uint32_t read_word(const JsonMember &member, const json &value, const Place &place);

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
  std::array<ListReferences, 2> lists_{ListReferences(kNodeNameLists),
                                       ListReferences(kMgmtAddrLists)};
};

const FabricImporter::Section FabricImporter::kSections[3] = {
    {"vsans", &FabricImporter::read_vsan},
    {kNodeNameLists, &FabricImporter::read_node_name_list},
    {kMgmtAddrLists, &FabricImporter::read_mgmt_addr_list},
};

/** The members of an object that tell columns, and the others that it may have. */
template <typename Row>
std::vector<std::string_view> members_of(std::vector<std::string_view> others = {}) {
  const Row row{};
  visit_columns(row, [&others](const char *, const auto &, const JsonMember &member) {
    if (member.form != Form::kElsewhere) {
      others.push_back(member.name);
    }
  });
  return others;
}

uint32_t FabricImporter::read_word(const JsonMember &member, const json &value,
                                   const Place &place) {
  switch (member.form) {
  case Form::kCode: return read_code(value, place, *member.terms);
  case Form::kFlag: return read_flag(value, place) ? 1 : 0;
  default: break;
  }
  const uint32_t number = read_number(value, place, member.low, member.high);
  if (!member.lists.empty()) {
    lists(member.lists).refer(number, place);
  }
  return number;
}

/** \param length of the octets, but for a text. */
std::string read_octets(const JsonMember &member, const json &value, const Place &place,
                        size_t length) {
  if (member.form == Form::kText) {
    return read_octets(value, place, member.high);
  }
  std::vector<uint8_t> octets(length);
  const size_t untold = member.form == Form::kAddressId ? 1 : 0;
  read_hex(value, place, std::span(octets).subspan(untold));
  return std::string(text_of(octets));
}

template <typename Row> void FabricImporter::read_row(const ObjectReader &object, Row &row) {
  visit_columns(row, [&](const char *, auto &&field, const JsonMember &member) {
    const json *value = member.form == Form::kElsewhere ? nullptr
                        : member.is_required            ? &object.required(member.name)
                                                        : object.find(member.name);
    if (value == nullptr) {
      return;
    }
    const Place place = object.at(member.name);
    if constexpr (std::is_same_v<decltype(value_of(field)), Octets>) {
      const size_t length = value_of(field).size();
      set_value(field, octets_of(read_octets(member, *value, place, length)));
    } else {
      set_value(field, read_word(member, *value, place));
    }
  });
}

fcs_disc_status_record read_discovery(const ObjectReader &vsan, double &takes_seconds) {
  fcs_disc_status_record record{};
  record.vsan = vsan.get("id", read_number, 1U, FCS_MAX_VSAN);
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

void FabricImporter::read_vsan(const json &value, const Place &place) {
  const ObjectReader object(value, place,
                            {"id", "discovery", "statistics", "elements", "platforms"});
  Vsan vsan{};
  vsan.discovery = read_discovery(object, vsan.discovery_takes_seconds);
  const uint32_t id = vsan.discovery.vsan;
  if (const json *statistics = object.find("statistics")) {
    const Place at = object.at("statistics");
    read_row(ObjectReader(*statistics, at, members_of<FcsStatsRecord>()), vsan.statistics);
  }
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
  const ObjectReader object(value, place, members_of<Element>({"ports"}));
  Element element{};
  element.vsan = vsan;
  read_row(object, element);
  add_unique(place, [&] { writer_.add(element); });
  ++totals_.elements;
  object.each("ports", [&](const json &item, const Place &at) { read_port(item, at, element); });
}

void FabricImporter::read_port(const json &value, const Place &place, const Element &element) {
  const ObjectReader object(value, place, members_of<Port>({"attached"}));
  if (element.port_list_index == 0) {
    refuse(place, "the element has no \"portList\" to hold its ports");
  }
  Port port{};
  port.vsan = element.vsan;
  port.port_list = element.port_list_index;
  port.local = element.local;
  read_row(object, port);
  add_unique(place, [&] { writer_.add(port); });
  ++totals_.ports;
  object.each("attached", [&](const json &item, const Place &at) {
    if (port.attached_list_index == 0) {
      refuse(at, "the port has no \"attachedList\" to hold its attached port names");
    }
    AttachedName name{{port.attached_list_index, {}}, port.vsan, port.local};
    read_hex(item, at, name.name);
    add_unique(at, [&] { writer_.add(name); });
  });
}

void FabricImporter::read_platform(const json &value, const Place &place, uint32_t vsan) {
  const ObjectReader object(value, place, members_of<PlatformEntry>());
  PlatformEntry platform{};
  platform.vsan = static_cast<int32_t>(vsan);
  platform.validation_result = FCS_NOT_VALIDATED;
  read_row(object, platform);
  add_unique(place, [&] { writer_.add(platform); });
  ++totals_.platforms;
}

void FabricImporter::read_node_name_list(const json &value, const Place &place) {
  const ObjectReader object(value, place, {"index", "names"});
  const uint32_t list = object.get("index", read_number, 1U, kMaxIndex);
  lists(kNodeNameLists).declare(list);
  add_unique(place, [&] { writer_.add_node_name_list(list); });
  object.each("names", [&](const json &item, const Place &at) { read_node_name(item, at, list); });
}

/** A node name is written as such, or as an object when there is more to say. */
void FabricImporter::read_node_name(const json &value, const Place &place, uint32_t list) {
  NodeNameEntry name{static_cast<int32_t>(list)};
  if (value.is_object()) {
    read_row(ObjectReader(value, place, members_of<NodeNameEntry>()), name);
  } else {
    read_hex(value, place, name.name);
  }
  add_unique(place, [&] { writer_.add(name); });
}

void FabricImporter::read_mgmt_addr_list(const json &value, const Place &place) {
  const ObjectReader object(value, place, {"index", "addresses"});
  const uint32_t list = object.get("index", read_number, 1U, kMaxIndex);
  lists(kMgmtAddrLists).declare(list);
  add_unique(place, [&] { writer_.add_mgmt_addr_list(list); });
  object.each("addresses",
              [&](const json &item, const Place &at) { read_mgmt_addr(item, at, list); });
}

void FabricImporter::read_mgmt_addr(const json &value, const Place &place, uint32_t list) {
  MgmtAddrEntry address{static_cast<int32_t>(list)};
  read_row(ObjectReader(value, place, members_of<MgmtAddrEntry>()), address);
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
