/**
 * The columns of the fabric. What the store reads and writes, and what a description tells, follows
 * from them.
 *
 * Each visit_columns calls visit(name, field, member) for each column of a row: those of its key
 * first, the rest in the order of a description. The row may be a record without what the store
 * holds besides. What the store's file has for a column is up to fabric_schema.h.
 */
#pragma once

#include "column.h"
#include "fabric.h"

#include <cstddef>

namespace fcs {

/** The members of a description that hold lists. */
inline constexpr std::string_view kNodeNameLists = "nodeNameLists";
inline constexpr std::string_view kMgmtAddrLists = "mgmtAddrLists";

/** The index of a list, 0 for none; in the document's member `lists` if that has to have it. */
constexpr JsonMember as_list(std::string_view name, std::string_view lists = {}) {
  return {Form::kNumber, name, 0, kMaxIndex, nullptr, lists};
}

template <std::derived_from<fcs_disc_status_record> Row, typename Visit>
constexpr void visit_columns(Row &discovery, const Visit &visit) {
  visit("id", discovery.vsan, kElsewhere);
  visit("status", discovery.status, kElsewhere);
  visit("completed_seconds", discovery.completed_seconds, kElsewhere);
  visit("completed_microseconds", discovery.completed_microseconds, kElsewhere);
}

/** The columns of the statistics but for the id. */
template <typename Row, typename Visit>
constexpr void visit_counters(Row &statistics, const Visit &visit) {
  visit("rx_get_reqs", statistics.rx_get_reqs, as_number("rxGetReqs"));
  visit("tx_get_reqs", statistics.tx_get_reqs, as_number("txGetReqs"));
  visit("rx_reg_reqs", statistics.rx_reg_reqs, as_number("rxRegReqs"));
  visit("rx_dereg_reqs", statistics.rx_dereg_reqs, as_number("rxDeregReqs"));
  visit("tx_reg_reqs", statistics.tx_reg_reqs, as_number("txRegReqs"));
  visit("tx_dereg_reqs", statistics.tx_dereg_reqs, as_number("txDeregReqs"));
  visit("rx_rscns", statistics.rx_rscns, as_number("rxRscns"));
  visit("tx_rscns", statistics.tx_rscns, as_number("txRscns"));
  visit("rejects", statistics.rejects, as_number("rejects"));
}

template <std::derived_from<FcsStatsRecord> Row, typename Visit>
constexpr void visit_columns(Row &statistics, const Visit &visit) {
  visit("id", statistics.vsan, kElsewhere);
  visit_counters(statistics, visit);
}

template <std::derived_from<Vsan> Row, typename Visit>
constexpr void visit_columns(Row &vsan, const Visit &visit) {
  visit_columns(vsan.discovery, visit);
  visit("takes_seconds", vsan.discovery_takes_seconds, kElsewhere);
  visit_counters(vsan.statistics, visit);
}

template <std::derived_from<IeEntry> Row, typename Visit>
constexpr void visit_columns(Row &element, const Visit &visit) {
  visit("vsan", element.vsan, kElsewhere);
  visit("name", element.name, required({Form::kWwn, "name"}));
  visit("type", element.type, required(as_code("type", kElementTypes)));
  if constexpr (requires { element.local; }) {
    visit("local", element.local, JsonMember{Form::kFlag, "local"});
  }
  visit("domain_id", element.domain_id, unless_zero(as_number("domainId", 1, kMaxDomainId)));
  visit("mgmt_id", element.mgmt_id, JsonMember{Form::kAddressId, "mgmtId"});
  visit("fabric_name", element.fabric_name, JsonMember{Form::kWwn, "fabricName"});
  visit("logical_name", Text{element.logical_name_length, element.logical_name},
        as_text("logicalName", kMaxTextLength));
  visit("mgmt_addr_list", element.mgmt_addr_list_index, as_list("mgmtAddrList", kMgmtAddrLists));
  visit("info_list", Padded{element.info_list}, as_text("infoList", sizeof(element.info_list)));
  visit("port_list", element.port_list_index, as_list("portList"));
}

template <std::derived_from<FcsPortRecord> Row, typename Visit>
constexpr void visit_columns(Row &port, const Visit &visit) {
  visit("vsan", port.vsan, kElsewhere);
  visit("name", port.name, required({Form::kWwn, "name"}));
  if constexpr (requires { port.port_list; }) {
    visit("port_list", port.port_list, kElsewhere);
    visit("local", port.local, kElsewhere);
  }
  visit("type", port.type, required(as_code("type", kPortTypes)));
  visit("tx_type", port.tx_type, as_number("txType"));
  visit("module_type", port.module_type, as_number("moduleType"));
  visit("physical_port", port.physical_port, as_number("physicalPort"));
  visit("state", port.state, as_code("state", kPortStates));
  visit("attached_list", port.attached_list_index, unless_zero(as_list("attachedList")));
}

template <std::derived_from<FcsPortListRecord> Row, typename Visit>
constexpr void visit_columns(Row &port, const Visit &visit) {
  visit("port_list", port.list_index, kElsewhere);
  visit("name", port.port_name, kElsewhere);
}

template <std::derived_from<FcsAttachPortRecord> Row, typename Visit>
constexpr void visit_columns(Row &attached, const Visit &visit) {
  visit("list", attached.list_index, kElsewhere);
  visit("name", attached.name, kElsewhere);
  if constexpr (requires { attached.local; }) {
    visit("vsan", attached.vsan, kElsewhere);
    visit("local", attached.local, kElsewhere);
  }
}

template <std::derived_from<PlatformEntry> Row, typename Visit>
constexpr void visit_columns(Row &platform, const Visit &visit) {
  visit("vsan", platform.vsan, kElsewhere);
  visit("platform_index", platform.platform_index, required(as_number("index", 1, kMaxIndex)));
  visit("name", Text{platform.name_length, platform.name},
        required(as_text("name", kMaxTextLength)));
  visit("type", platform.type, required(as_code("type", kPlatformTypes)));
  visit("node_name_list", platform.node_name_list_index, as_list("nodeNameList", kNodeNameLists));
  visit("mgmt_addr_list", platform.mgmt_addr_list_index, as_list("mgmtAddrList", kMgmtAddrLists));
  visit("configured", platform.config_source, JsonMember{Form::kFlag, "configured"});
  visit("validation_result", platform.validation_result,
        as_number("validationResult", FCS_NO_RESULT, FCS_INVALID));
}

template <std::derived_from<NodeNameEntry> Row, typename Visit>
constexpr void visit_columns(Row &node, const Visit &visit) {
  visit("list", node.list_index, kElsewhere);
  visit("name", node.name, required({Form::kWwn, "name"}));
  visit("configured", node.config_source, JsonMember{Form::kFlag, "configured"});
}

template <std::derived_from<MgmtAddrEntry> Row, typename Visit>
constexpr void visit_columns(Row &address, const Visit &visit) {
  visit("list", address.list_index, kElsewhere);
  visit("address_index", address.address_index, required(as_number("index", 1, kMaxIndex)));
  visit("address", Text{address.address_length, address.address},
        required(as_text("address", kMaxTextLength)));
  visit("configured", address.config_source, JsonMember{Form::kFlag, "configured"});
}

/** The row of a list that is declared is its index. */
template <std::unsigned_integral List, typename Visit>
constexpr void visit_columns(List &list, const Visit &visit) {
  visit("list", list, kElsewhere);
}

/** How many octets of a record are in columns. There are no others but those that answers fill in
 * by themselves: a member that has no column does not get past these lines. */
template <typename Record> constexpr size_t octets_in_columns() {
  const Record record{};
  size_t octets = 0;
  visit_columns(record, [&octets](const char *, const auto &field, const JsonMember &) {
    if constexpr (requires { field.size(); }) {
      octets += field.size();
    } else {
      octets += sizeof(field);
    }
  });
  return octets;
}
static_assert(octets_in_columns<fcs_disc_status_record>() == sizeof(fcs_disc_status_record));
static_assert(octets_in_columns<FcsStatsRecord>() == sizeof(FcsStatsRecord));
static_assert(octets_in_columns<IeEntry>() == sizeof(IeEntry));
static_assert(octets_in_columns<FcsPortRecord>() == sizeof(FcsPortRecord));
static_assert(octets_in_columns<FcsPortListRecord>() == sizeof(FcsPortListRecord));
static_assert(octets_in_columns<FcsAttachPortRecord>() == sizeof(FcsAttachPortRecord));
static_assert(octets_in_columns<PlatformEntry>() == offsetof(PlatformEntry, validation_request));
static_assert(octets_in_columns<NodeNameEntry>() == offsetof(NodeNameEntry, reserved));
static_assert(octets_in_columns<MgmtAddrEntry>() == offsetof(MgmtAddrEntry, row_status));

} // namespace fcs
