/** How rows are located: every table's index, exactly and by next, and the role walk. */
#include "agent_calls.h"

#include "feature/fabric_conf_server/snmp/configuration/fcs_config_lookup.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <numeric>

namespace {

using Index = std::vector<oid>;

/** A table by one of its columns. */
struct Table {
  const char *label;
  FcsObject object;
  FcsRecordId record_id;
  size_t name_octets; ///< Octets of the name in its index, behind the word.
  size_t request_length;
};

constexpr Table kStatus = {"discovery status", fcsDiscoveryStatus, FCS_REC_DISCOVERY_STATUS, 0, 4};
constexpr Table kStatistics = {"statistics", fcsRejects, FCS_REC_STATISTICS, 0, 4};
constexpr Table kElements = {"elements", fcsIeDomainId, FCS_REC_IE, 8, 12};
constexpr Table kPorts = {"ports", fcsPortTxType, FCS_REC_PORT, 8, 12};
constexpr Table kPlatforms = {"platforms", fcsPlatformValidation, FCS_REC_PLATFORM, 0, 8};

constexpr Table kVsanTables[] = {kStatus, kStatistics, kElements, kPorts, kPlatforms};
constexpr Table kNameTables[] = {kStatus,
                                 kStatistics,
                                 kElements,
                                 kPorts,
                                 {"port lists", fcsPortListIndex, FCS_REC_PORT_LIST, 8, 12},
                                 {"attached names", fcsAttachPortName, FCS_REC_ATTACH_PORT, 12, 16},
                                 {"node names", fcsNodeNameRowStatus, FCS_REC_NODE_NAME, 8, 20}};
constexpr Table kPairTables[] = {
    kPlatforms, {"management addresses", fcsMgmtAddrRowStatus, FCS_REC_MGMT_ADDR, 0, 272}};

Index with_name(oid word, size_t octets, oid first) {
  Index index(1 + octets, word);
  std::iota(index.begin() + 1, index.end(), first);
  return index;
}

class Lookup : public testing::Test {
protected:
  void SetUp() override { start_module(); }

  /** The record that the service is asked with; absent when it is not asked. No row is found. */
  std::optional<Request> asked_by_name(const Table &table, Name name, bool exact) {
    std::optional<Request> seen;
    platform.service = [&](const Request &request) {
      seen = request;
      return Reply{FCS_ERR_NO_SUCH_ROW, {}};
    };
    EXPECT_FALSE(read_name(platform.registered_for(table.object), name, exact).value);
    if (seen) {
      EXPECT_EQ(seen->record_id, table.record_id);
      EXPECT_EQ(seen->operation, exact ? FCS_OP_GET : FCS_OP_GETNEXT);
      EXPECT_EQ(seen->payload.size(), table.request_length);
    }
    return seen;
  }
  std::optional<Request> asked(const Table &table, const Index &index, bool exact) {
    return asked_by_name(table, Name(platform.registered_for(table.object), index), exact);
  }
};

/** Word and name of a request. */
std::pair<uint32_t, Bytes> name_key(const Request &request, size_t octets) {
  const auto name = request.payload.begin() + 4;
  return {request.word(0), Bytes(name, name + static_cast<ptrdiff_t>(octets))};
}

TEST_F(Lookup, NameIndexOfExactRequests) {
  for (const Table &t : kNameTables) {
    SCOPED_TRACE(t.label);
    Bytes name(t.name_octets);
    std::iota(name.begin(), name.end(), 250); // Low octets: 250 to 255, then 0 and on.
    auto request = asked(t, with_name(0xFFFFFFFE, t.name_octets, 250), true);
    ASSERT_TRUE(request);
    EXPECT_EQ(name_key(*request, t.name_octets), std::pair(0xFFFFFFFEU, name));
    EXPECT_FALSE(asked(t, with_name(7, t.name_octets + 1, 1), true)) << "too long";
    // A short OID is read from its end: the column's own sub-identifiers join in.
    request = asked(t, {}, true);
    ASSERT_TRUE(request);
    const variable &entry = platform.registered_for(t.object);
    EXPECT_EQ(request->word(0), entry.name[entry.namelen - 1 - t.name_octets]);
  }
}

TEST_F(Lookup, NameIndexOfNextRequests) {
  for (const Table &t : kNameTables) {
    SCOPED_TRACE(t.label);
    const size_t n = t.name_octets;
    auto request = asked(t, {}, false);
    ASSERT_TRUE(request);
    EXPECT_EQ(name_key(*request, n), std::pair(0U, Bytes(n, 0)));
    request = asked(t, {6}, false);
    EXPECT_EQ(name_key(*request, n), std::pair(6U, Bytes(n, 0)));
    request = asked(t, {6, 0x120}, false);
    Bytes partial(n, 0);
    if (n > 0) {
      partial[0] = 0x20;
    }
    EXPECT_EQ(name_key(*request, n), std::pair(6U, partial));
    for (const size_t octets : {n + 1, n + 9, size_t{100}}) {
      request = asked(t, with_name(6, octets, 1), false);
      Bytes full(n);
      std::iota(full.begin(), full.end(), 1);
      EXPECT_EQ(name_key(*request, n), std::pair(6U, full));
    }
  }
  EXPECT_TRUE(asked(kStatistics, {4096}, false));
  EXPECT_FALSE(asked(kStatistics, {4097}, false)) << "statistics end at VSAN 4096";
  EXPECT_TRUE(asked(kStatus, {4097}, false)) << "the discovery status does not";
}

TEST_F(Lookup, PairIndex) {
  const struct {
    Index index;
    bool exact;
    std::optional<std::pair<uint32_t, uint32_t>> asked;
  } cases[] = {
      {{5, 9}, true, {{5, 9}}},
      {{0xFFFFFFFF, 0x80000000}, true, {{0xFFFFFFFF, 0x80000000}}},
      {{5, 9, 1}, true, {}},
      {{5}, true, {{5, 0}}},
      {{}, true, {{0, 0}}},
      {{}, false, {{0, 0}}},
      {{5}, false, {{5, 0}}},
      {{5, 9}, false, {{5, 9}}},
      {{5, 9, 1, 2, 3}, false, {{5, 9}}},
  };
  for (const Table &t : kPairTables) {
    SCOPED_TRACE(t.label);
    for (const auto &c : cases) {
      const auto request = asked(t, c.index, c.exact);
      ASSERT_EQ(request.has_value(), c.asked.has_value());
      if (request) {
        EXPECT_EQ(std::pair(request->word(0), request->word(4)), *c.asked);
      }
    }
  }
}

TEST_F(Lookup, RequestsOutsideTheColumnStartAtTheFirstRow) {
  for (const Table &t : kNameTables) {
    const variable &column = platform.registered_for(t.object);
    for (const oid place : {column.name[column.namelen - 1] - 1, // Before and behind the column.
                            column.name[column.namelen - 1] + 1}) {
      Name name(column, {9});
      name.room[column.namelen - 1U] = place;
      const auto request = asked_by_name(t, name, false);
      ASSERT_TRUE(request);
      EXPECT_EQ(name_key(*request, t.name_octets), std::pair(0U, Bytes(t.name_octets, 0)))
          << t.label;
    }
  }
}

/** A service that has one row, the first of its VSAN, in each of these VSANs. */
void serve_vsans(const std::set<uint32_t> &vsans) {
  platform.service = [vsans](const Request &request) {
    const uint32_t vsan = request.word(0);
    const bool one_word = request.payload.size() == 4;
    const bool at_start =
        !one_word && std::all_of(request.payload.begin() + 4, request.payload.end(),
                                 [](uint8_t octet) { return octet == 0; });
    const bool own_row_counts = request.operation == FCS_OP_GET || at_start;
    const auto row = own_row_counts ? vsans.lower_bound(vsan) : vsans.upper_bound(vsan);
    if (row == vsans.end() || (request.operation == FCS_OP_GET && *row != vsan)) {
      return Reply{FCS_ERR_NO_SUCH_ROW, {}};
    }
    Bytes record(600, 0x11);
    const Bytes word = bytes_of(*row);
    std::copy(word.begin(), word.end(), record.begin());
    return Reply{0, record};
  };
}

TEST_F(Lookup, RoleWalkOfRestrictedUsers) {
  platform.restricted = true;
  const struct {
    std::set<uint32_t> served;
    Vsans readable;
    Index from;
    bool exact;
    Lines calls; // After the question for the allowed VSANs.
    oid found;   // 0: no instance.
  } cases[] = {
      {{5}, {5}, {5}, true, {"role allowed 5"}, 5},
      {{5}, {6}, {5}, true, {"role allowed 5"}, 0},
      {{3, 5}, {3}, {}, false, {"role allowed 3"}, 3},
      {{3, 5, 9}, {9}, {}, false, {"role allowed 3", "role next 3", "role allowed 9"}, 9},
      // The next allowed VSAN is empty, and so is every one behind it.
      {{3, 5, 9},
       {4, 6},
       {},
       false,
       {"role allowed 3", "role next 3", "role allowed 5", "role next 5", "role allowed 9",
        "role next 9"},
       0},
      {{3, 9, 11},
       {4, 11},
       {},
       false,
       {"role allowed 3", "role next 3", "role allowed 9", "role next 9", "role allowed 11"},
       11},
      {{3}, {}, {}, false, {"role allowed 3", "role next 3"}, 0},
      {{0xFFFFFFF0}, {4}, {}, false, {"role allowed 4294967280", "role next 4294967280"}, 0},
  };
  for (const Table &t : kVsanTables) {
    for (const auto &c : cases) {
      SCOPED_TRACE(t.label);
      serve_vsans(c.served);
      platform.readable = c.readable;
      Index from = c.from;
      if (c.exact && t.request_length > 4) {
        from = with_name(from[0], t.request_length == 8 ? 1 : t.name_octets, 1);
      }
      Answer answer;
      Lines calls;
      for (const std::string &line :
           lines_of([&] { answer = read_object(t.object, from, c.exact); })) {
        if (line.rfind("role ", 0) == 0) {
          calls.push_back(line.substr(0, line.find(" .")));
        }
      }
      Lines expected = {"role vsans 160"};
      if (t.record_id == FCS_REC_PORT) { // This table asks once more, for its trace.
        expected.push_back("role allowed " + std::to_string(c.from.empty() ? 0 : c.from[0]));
      }
      expected.insert(expected.end(), c.calls.begin(), c.calls.end());
      EXPECT_EQ(calls, expected);
      ASSERT_EQ(answer.value.has_value(), c.found != 0);
      if (c.found != 0) {
        EXPECT_EQ(answer.index.front(), c.found);
      }
    }
  }
}

TEST_F(Lookup, TheWriteSideLocatesRowsByTheInstanceItself) {
  Name name(platform.registered_for(fcsPlatformRowStatus), {5, 7});
  static FcsAnswer<PlatformEntry> scratch;
  platform.service = [](const Request &request) {
    return Reply{0, bytes_of(PlatformEntry{.vsan = static_cast<int32_t>(request.word(0)),
                                           .platform_index = static_cast<int32_t>(request.word(4)),
                                           .type = 9})};
  };
  const auto find = [&] {
    return header_fcs_platform_table(name.room.data(), 14, name.room.data(), &name.length, 1,
                                     nullptr, nullptr, &scratch);
  };
  EXPECT_EQ(find(), 5);
  EXPECT_EQ(scratch.record.type, 9U);
  EXPECT_EQ(name.length, 16U);
  EXPECT_THAT(std::pair(name.room[14], name.room[15]), testing::Pair(5, 7));
  platform.service = [](const Request &) { return Reply{FCS_ERR_NO_SUCH_ROW, {}}; };
  EXPECT_EQ(find(), -1);
  name.room[14] = 0xFFFFFFFF;
  platform.service = [](const Request &) { return Reply{0, Bytes(sizeof(PlatformEntry), 0xFF)}; };
  EXPECT_EQ(find(), -1) << "a row at all ones cannot be told from none";
}

} // namespace
