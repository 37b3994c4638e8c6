#include "fabric_lists.h"

#include "common/text/octets.h"

namespace snmpfcs {

namespace {

/** A name of octets behind the first number of an index; zeros where the index is too short. */
template <size_t kLength> std::array<char, kLength> name_of(const Oid &index) {
  std::array<char, kLength> name{};
  for (size_t i = 0; i < kLength && i + 1 < index.size(); ++i) {
    name[i] = static_cast<char>(index[i + 1]);
  }
  return name;
}

size_t place_of(std::string_view column) {
  return static_cast<size_t>(std::ranges::find(kElementColumns, column) - kElementColumns.begin());
}

} // namespace

int64_t number_of(const Value &value) {
  const auto *const number = std::get_if<int64_t>(&value);
  return number == nullptr ? 0 : *number;
}

Wwn wwn_of(const Oid &index) {
  return name_of<sizeof(Wwn)>(index);
}

uint32_t Element::list(std::string_view column) const {
  return static_cast<uint32_t>(number_of(values[place_of(column)]));
}

std::string Element::label() const {
  const auto *const name = std::get_if<std::string>(&values[place_of("fcsIeLogicalName")]);
  return name == nullptr || name->empty() ? fcs::to_wwn(fcs::octets_of({wwn.data(), wwn.size()}))
                                          : *name;
}

std::vector<Element> read_elements(Session &session, const Ranges &vsans) {
  std::vector<Element> elements;
  walk(session, kElementColumns, vsans, [&](const Oid &index, std::span<const Value> values) {
    elements.push_back({static_cast<uint32_t>(index[0]), wwn_of(index),
                        std::vector<Value>(values.begin(), values.end())});
  });
  return elements;
}

PortOwners::PortOwners(Session &session, const std::vector<Element> &elements,
                       const TellProgress &tell)
    : elements_(elements) {
  std::vector<std::pair<uint32_t, uint32_t>> element_of_list;
  std::vector<uint32_t> numbers;
  for (const Element &element : elements) {
    const uint32_t list = element.list("fcsIePortListIndex");
    element_of_list.emplace_back(list, static_cast<uint32_t>(&element - elements.data()));
    numbers.push_back(list);
  }
  std::ranges::sort(element_of_list);
  walk(session, {"fcsPortListIndex"}, ranges_of(numbers), [&](const Oid &index, auto) {
    const auto list = static_cast<uint32_t>(index[0]);
    const auto owner = std::ranges::lower_bound(element_of_list, std::pair(list, 0U));
    ports_.push_back({wwn_of(index), owner->second});
    tell("port lists", ports_.size());
  });
  std::ranges::sort(ports_, {}, &Port::wwn);
}

const Element *PortOwners::of(uint32_t vsan, const Wwn &port) const {
  for (auto at = std::ranges::lower_bound(ports_, port, {}, &Port::wwn);
       at != ports_.end() && at->wwn == port; ++at) {
    if (elements_[at->element].vsan == vsan) {
      return &elements_[at->element];
    }
  }
  return nullptr;
}

Lists<AttachedName> read_attached_names(Session &session, const Ranges &lists,
                                        const TellProgress &tell) {
  Lists<AttachedName> names;
  size_t rows = 0;
  walk(session, {"fcsAttachPortName"}, lists, [&](const Oid &index, auto) {
    names.add(static_cast<uint32_t>(index[0]), name_of<sizeof(AttachedName)>(index));
    tell("attached names", ++rows);
  });
  return names;
}

Lists<Wwn> read_node_names(Session &session, const Ranges &lists) {
  Lists<Wwn> names;
  walk(session, {"fcsNodeNameConfigSource"}, lists,
       [&](const Oid &index, auto) { names.add(static_cast<uint32_t>(index[0]), wwn_of(index)); });
  return names;
}

Lists<std::string> read_addresses(Session &session, const Ranges &lists) {
  Lists<std::string> addresses;
  walk(session, {"fcsMgmtAddr"}, lists, [&](const Oid &index, std::span<const Value> values) {
    const auto *const address = std::get_if<std::string>(&values[0]);
    addresses.add(static_cast<uint32_t>(index[0]), address == nullptr ? "" : *address);
  });
  return addresses;
}

Ranges lists_in(Session &session, std::string_view column, const Ranges &vsans) {
  if (vsans.size() == 1 && vsans[0].first == 0) {
    return kAnyNumber;
  }
  std::vector<uint32_t> numbers;
  walk(session, {column}, vsans, [&](const Oid & /*index*/, std::span<const Value> values) {
    if (number_of(values[0]) != 0) {
      numbers.push_back(static_cast<uint32_t>(number_of(values[0])));
    }
  });
  return ranges_of(numbers);
}

} // namespace snmpfcs
