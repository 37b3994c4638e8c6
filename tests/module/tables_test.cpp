/** The statistics and interconnect element tables: index, role walk, values, traces. */
#include "recording_platform.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "feature/fabric_conf_server/snmp/fcs_ie_table.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Index = std::vector<oid>;

const Index kName = {0x20, 0, 0, 0, 0x5e, 1, 2, 3};

Index ie_index(oid vsan, const Index &name = kName) {
  Index index = {vsan};
  index.insert(index.end(), name.begin(), name.end());
  return index;
}

IeEntry ie_in(uint32_t vsan) {
  IeEntry entry{};
  entry.vsan = vsan;
  std::copy(kName.begin(), kName.end(), entry.name);
  entry.type = 2;
  entry.domain_id = 97;
  const uint8_t mgmt_id[4] = {0, 0xff, 0xfc, 0x05};
  memcpy(entry.mgmt_id, mgmt_id, sizeof(mgmt_id));
  memset(entry.fabric_name, 0x5a, sizeof(entry.fabric_name));
  entry.logical_name_length = 255;
  memset(entry.logical_name, 'x', sizeof(entry.logical_name));
  entry.mgmt_addr_list_index = 0xFFFFFFFE;
  memset(entry.info_list, 0x77, sizeof(entry.info_list));
  entry.port_list_index = 12;
  return entry;
}

/** A service that has one element or statistics row in each of these VSANs. */
void serve_vsans(const std::set<uint32_t> &vsans) {
  platform.service = [vsans](const Request &request) {
    const uint32_t vsan = request.word(0);
    const bool before_name = request.payload.size() == 12 && request.word(8) == 0;
    const auto row = request.operation == FCS_OP_GET || before_name ? vsans.lower_bound(vsan)
                                                                    : vsans.upper_bound(vsan);
    if (row == vsans.end() || (request.operation == FCS_OP_GET && *row != vsan)) {
      return Reply{FCS_ERR_NO_SUCH_ROW, {}};
    }
    if (request.record_id == FCS_REC_IE) {
      return Reply{0, bytes_of(ie_in(*row))};
    }
    FcsStatsRecord stats{};
    stats.vsan = *row;
    return Reply{0, bytes_of(stats)};
  };
}

/** The requests and role calls among the lines that a read leaves, and its answer. */
struct Walked {
  Lines calls;
  Answer answer;
};

Walked walk(FcsObject object, const Index &index, bool exact) {
  Walked walked;
  for (const std::string &line :
       lines_of([&] { walked.answer = read_object(object, index, exact); })) {
    if (line.rfind("role ", 0) == 0) {
      walked.calls.push_back(line.substr(0, line.find(" .")));
    }
  }
  return walked;
}

class Tables : public testing::Test {
protected:
  void SetUp() override { start_module(); }
};

TEST_F(Tables, StatisticsColumnsAndTheirLines) {
  platform.service = [](const Request &request) {
    EXPECT_EQ(request.payload.size(), 4U);
    const FcsStatsRecord stats = {request.word(0), 1, 2, 3, 4, 5, 6, 7, 8, 0xFFFFFFFF};
    return Reply{0, bytes_of(stats)};
  };
  EXPECT_THAT(lines_of([] { read_object(fcsRxRegReqs, {7}, true); }),
              ElementsAre("101 header_fcs_stats_table:length 15, vp->namelen 14 exact 1\n",
                          "role vsans 160 .1.3.6.1.4.1.32473.1.1.1.2.2.1.3.7 bytes 512",
                          "101 fcs_get_data:before sending cmi\n", "stderr Before CMI\n",
                          "ipc 1402/1 record 90 length 8 from user/7 to 20/77/0",
                          "101 fcs_get_data:err 0\n", "101 fcs_get_data:len = 40 val = 7 \n",
                          "stdout len = 40 val = 7\n", "stderr index = 7 reg req = 3\n",
                          "101 header_fcs_stats_table:end\n",
                          "101 var_fcsStatsTable:return rx reg\n"));
  const struct {
    FcsObject object;
    int64_t value;
    const char *label;
  } columns[] = {
      {fcsRxGetReqs, 1, "rx get"}, {fcsTxGetReqs, 2, "tx get"},     {fcsRxRegReqs, 3, "rx reg"},
      {fcsTxRegReqs, 5, "tx reg"}, {fcsRxDeregReqs, 4, "rx dereg"}, {fcsTxDeregReqs, 6, "tx dereg"},
      {fcsTxRscns, 8, "tx rscn"},  {fcsRxRscns, 7, "rx rscn"},      {fcsRejects, -1, "rej"}};
  for (const auto &column : columns) {
    Answer answer;
    const Lines lines = lines_of([&] { answer = read_object(column.object, {7}, true); });
    EXPECT_EQ(answer.word(), column.value) << column.label;
    EXPECT_EQ(lines.back(), std::string("101 var_fcsStatsTable:return ") + column.label + "\n");
    EXPECT_EQ(answer.write_method, nullptr);
  }
}

TEST_F(Tables, StatisticsIndex) {
  uint32_t asked = 0;
  platform.service = [&](const Request &request) {
    asked = request.word(0);
    return Reply{FCS_ERR_NO_SUCH_ROW, {}};
  };
  const struct {
    Index index;
    bool exact;
    int64_t asked; // -1: nothing is asked.
  } cases[] = {
      {{5}, true, 5},      {{5000}, true, 5000},      {{0xFFFFFFFE}, true, 0xFFFFFFFE},
      {{}, true, 3},       {{5, 0}, true, -1},        {{}, false, 0},
      {{9}, false, 9},     {{9, 4, 4}, false, 9},     {{4096}, false, 4096},
      {{4097}, false, -1}, {{0xFFFFFFFF}, false, -1},
  };
  for (const auto &c : cases) {
    asked = 12345;
    const Lines lines =
        lines_of([&] { EXPECT_FALSE(read_object(fcsRxRegReqs, c.index, c.exact).value); });
    EXPECT_EQ(asked, c.asked < 0 ? 12345 : static_cast<uint32_t>(c.asked));
    EXPECT_EQ(lines.back(), "101 var_fcsStatsTable:return NULL\n");
  }
}

TEST_F(Tables, AllOnesEndsATableAfterItsOidIsRewritten) {
  platform.service = [](const Request &request) {
    FcsStatsRecord stats{};
    stats.vsan = FCS_END_OF_TABLE;
    return Reply{0, request.record_id == FCS_REC_IE ? bytes_of(ie_in(FCS_END_OF_TABLE))
                                                    : bytes_of(stats)};
  };
  for (const FcsObject object : {fcsRejects, fcsIeType}) {
    Answer answer;
    const Lines lines = lines_of([&] { answer = read_object(object, {1}, false); });
    EXPECT_FALSE(answer.value);
    EXPECT_EQ(answer.index.front(), 0xFFFFFFFFU);
    EXPECT_THAT(lines.back(), HasSubstr(":return NULL\n"));
    EXPECT_THAT(lines[lines.size() - 2], HasSubstr("_table:end\n"));
  }
}

TEST_F(Tables, ElementColumnsAndTheirLines) {
  serve_vsans({7});
  EXPECT_THAT(lines_of([] { read_object(fcsIeType, ie_index(7), true); }),
              ElementsAre("101 var_fcsIeTable:entering\n", "101 header_fcs_ie_table:entering\n",
                          "101 header_fcs_ie_table:length 23, vp->namelen 14 exact 1\n",
                          "101 header_fcs_ie_table:vsan index 7\n",
                          "role vsans 160 .1.3.6.1.4.1.32473.1.1.1.1.11.1.2.7.32.0.0.0.94.1.2.3"
                          " bytes 512",
                          "101 fcs_get_data:before sending cmi\n", "stderr Before CMI\n",
                          "ipc 1402/1 record 20 length 16 from user/7 to 20/77/0",
                          "101 fcs_get_data:err 0\n", "101 fcs_get_data:len = 552 val = 7 \n",
                          "stdout len = 552 val = 7\n", "101 header_fcs_ie_table:end\n",
                          "101 fcs_map_ie_type:entering\n", "101 fcs_map_ie_type:end\n",
                          "101 var_fcsIeTable:return ie type\n"));
  const struct {
    FcsObject object;
    Bytes value;
    const char *label;
  } columns[] = {{fcsIeType, bytes_of(uint32_t{4}), "ie type"},
                 {fcsIeDomainId, bytes_of(uint32_t{97}), "ie dom id"},
                 {fcsIeMgmtId, {0xff, 0xfc, 0x05}, "ie mgmt id"},
                 {fcsIeFabricName, Bytes(8, 0x5a), "fab name"},
                 {fcsIeLogicalName, Bytes(255, 'x'), "log name"},
                 {fcsIeMgmtAddrListIndex, bytes_of(uint32_t{0xFFFFFFFE}), "mgmt addr list"},
                 {fcsIeInfoList, Bytes(256, 0x77), "info list"},
                 {fcsIePortListIndex, bytes_of(uint32_t{12}), "port list"}};
  for (const auto &column : columns) {
    Answer answer;
    const Lines lines = lines_of([&] { answer = read_object(column.object, {}, false); });
    EXPECT_EQ(answer.value, column.value) << column.label;
    EXPECT_EQ(answer.index, ie_index(7));
    EXPECT_EQ(lines.back(), std::string("101 var_fcsIeTable:return ") + column.label + "\n");
  }
}

TEST_F(Tables, ElementTypesOverTheWholeRange) {
  for (uint32_t type = 0; type <= 255; ++type) {
    uint32_t mapped = type;
    fcs_map_ie_type(&mapped);
    EXPECT_EQ(mapped, type == 1 ? 3U : type == 2 ? 4U : type == 3 ? 5U : 1U);
  }
}

TEST_F(Tables, ElementIndex) {
  Bytes asked;
  platform.service = [&](const Request &request) {
    EXPECT_EQ(request.payload.size(), 12U);
    asked = request.payload;
    return Reply{FCS_ERR_NO_SUCH_ROW, {}};
  };
  const auto key = [](uint32_t vsan, const Bytes &name) {
    Bytes bytes(12);
    memcpy(bytes.data(), &vsan, sizeof(vsan));
    std::copy(name.begin(), name.end(), bytes.begin() + sizeof(vsan));
    return bytes;
  };
  const Index long_name(100, 9);
  const struct {
    Index index;
    bool exact;
    Bytes asked; // Empty: nothing is asked.
  } cases[] = {
      {ie_index(7), true, key(7, {0x20, 0, 0, 0, 0x5e, 1, 2, 3})},
      {ie_index(0xFFFFFFFE, {300, 256, 511, 1, 2, 3, 4, 5}), true,
       key(0xFFFFFFFE, {44, 0, 255, 1, 2, 3, 4, 5})},
      {ie_index(7, {1, 2, 3, 4, 5, 6, 7, 8, 9}), true, {}},
      {{}, false, key(0, {})},
      {{6}, false, key(6, {})},
      {{6, 0x20}, false, key(6, {0x20})},
      {ie_index(6, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), false, key(6, {1, 2, 3, 4, 5, 6, 7, 8})},
      {ie_index(6, long_name), false, key(6, Bytes(8, 9))},
      // A short exact OID is read from its end: the column's own sub-identifiers join in.
      {{5}, true, key(32473, {1, 1, 1, 1, 11, 1, 2, 5})},
  };
  for (const auto &c : cases) {
    asked.clear();
    const Lines lines =
        lines_of([&] { EXPECT_FALSE(read_object(fcsIeType, c.index, c.exact).value); });
    EXPECT_EQ(asked, c.asked);
    EXPECT_EQ(lines.back(), "101 var_fcsIeTable:return NULL\n");
  }
}

TEST_F(Tables, RequestsOutsideTheColumnStartAtTheFirstRow) {
  Bytes asked;
  platform.service = [&](const Request &request) {
    asked = request.payload;
    return Reply{FCS_ERR_NO_SUCH_ROW, {}};
  };
  variable entry = platform.registered_for(fcsIeType);
  for (const oid last : {oid{1}, oid{3}}) { // Before and behind the column.
    oid name[MAX_OID_LEN] = {};
    std::copy_n(entry.name, entry.namelen, name);
    name[entry.namelen - 1] = last;
    name[entry.namelen] = 9;
    size_t length = entry.namelen + 1U;
    size_t value_length = 0;
    WriteMethod *write_method = nullptr;
    lines_of([&] { var_fcsIeTable(&entry, name, &length, 0, &value_length, &write_method); });
    EXPECT_EQ(asked, Bytes(12, 0));
  }
}

TEST_F(Tables, RoleWalkOfRestrictedUsers) {
  platform.restricted = true;
  const struct {
    std::set<uint32_t> served;
    std::set<uint32_t> readable;
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
  for (const auto &c : cases) {
    for (const FcsObject object : {fcsRejects, fcsIeDomainId}) {
      serve_vsans(c.served);
      platform.readable = c.readable;
      const Index from = object == fcsIeDomainId && c.exact ? ie_index(c.from.front()) : c.from;
      const Walked walked = walk(object, from, c.exact);
      Lines expected = {"role vsans 160"};
      expected.insert(expected.end(), c.calls.begin(), c.calls.end());
      EXPECT_EQ(walked.calls, expected);
      ASSERT_EQ(walked.answer.value.has_value(), c.found != 0);
      if (c.found != 0) {
        EXPECT_EQ(walked.answer.index.front(), c.found);
      }
    }
  }
}

TEST_F(Tables, UnknownMagicsAnswerWithAnEmptyDetail) {
  serve_vsans({1});
  for (const FcsObject object : {fcsRejects, fcsIeType}) {
    variable entry = platform.registered_for(object);
    entry.magic = 200;
    oid name[MAX_OID_LEN] = {};
    size_t length = 0;
    size_t value_length = 0;
    WriteMethod *write_method = nullptr;
    const Lines lines = lines_of([&] {
      EXPECT_EQ(entry.findVar(&entry, name, &length, 0, &value_length, &write_method), nullptr);
    });
    EXPECT_EQ(lines.back(), "detail ''");
  }
}

} // namespace
