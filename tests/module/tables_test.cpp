/** The tables' columns: values, traces, ends. */
#include "agent_calls.h"

#include "feature/fabric_conf_server/snmp/configuration/fcs_config_tables.h"
#include "feature/fabric_conf_server/snmp/fabric/fcs_ie_table.h"
#include "feature/fabric_conf_server/snmp/fabric/fcs_port_tables.h"

#include <gmock/gmock.h>
#include <map>
#include <sys/time.h>

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
  IeEntry entry{.vsan = vsan,
                .name = {0x20, 0, 0, 0, 0x5e, 1, 2, 3},
                .type = 2,
                .domain_id = 97,
                .mgmt_id = {0, 0xff, 0xfc, 0x05},
                .logical_name_length = 255,
                .mgmt_addr_list_index = 0xFFFFFFFE,
                .port_list_index = 12};
  memset(entry.fabric_name, 0x5a, sizeof(entry.fabric_name));
  memset(entry.logical_name, 'x', sizeof(entry.logical_name));
  memset(entry.info_list, 0x77, sizeof(entry.info_list));
  return entry;
}

/** A service that answers every request with this record. */
template <typename Record> void serve(const Record &record) {
  platform.service = [record](const Request &) { return Reply{0, bytes_of(record)}; };
}

Bytes word(uint32_t value) {
  return bytes_of(value);
}

class Tables : public testing::Test {
protected:
  void SetUp() override { start_module(); }

  /** A column, the value that it shows, and what its trace calls it. */
  struct Column {
    FcsObject object;
    Bytes value;
    const char *label;
  };

  /** A table's handler and the step of it that locates the row. */
  struct Handler {
    std::string name, header;
  };

  const Handler kElements = {"var_fcsIeTable", "header_fcs_ie_table"};
  const Handler kPorts = {"var_fcsPortTable", "header_fcs_port_table"};
  const Handler kPortLists = {"var_fcsPortListTable", "header_fcs_port_list_table"};
  const Handler kAttached = {"var_fcsAttachPortNameListTable", "header_fcs_attach_port_table"};
  const Handler kAddresses = {"var_fcsMgmtAddrListTable", "header_fcs_mgmt_addr_table"};
  const Handler kPlatforms = {"var_fcsPlatformTable", "header_fcs_platform_table"};
  const Handler kNodeNames = {"var_fcsNodeNameListTable", "header_fcs_node_name_list_table"};
  const Handler kStatus = {"var_fcsDiscoveryStatusTable", "header_fcs_disc_status_table"};

  /** Reads the columns by next and checks value, index and the handler's own last trace. */
  static void expect_columns(const Handler &handler, const std::vector<Column> &columns,
                             const Index &index) {
    for (const Column &column : columns) {
      SCOPED_TRACE(column.label);
      Answer answer;
      const Lines lines = lines_of([&] { answer = read_object(column.object, {}, false); });
      EXPECT_EQ(answer.value, column.value);
      EXPECT_EQ(answer.index, index);
      EXPECT_EQ(answer.write_method != nullptr,
                platform.registered_for(column.object).acl == NETSNMP_OLDAPI_RWRITE);
      EXPECT_EQ(lines.back(), "101 " + handler.name + ":return " + column.label + "\n");
    }
  }

  /** Reads an object and checks the traces but for those of the exchange: those of the header
   * between the handler's own two. */
  static void expect_traces(const Handler &handler, FcsObject object, const Index &index,
                            bool exact, const Lines &of_header, const std::string &returned) {
    Lines expected = {"101 " + handler.name + ":entering\n",
                      "101 " + handler.header + ":entering\n"};
    for (const std::string &text : of_header) {
      expected.push_back("101 " + handler.header + ":" + text + "\n");
    }
    expected.push_back("101 " + handler.name + ":return " + returned + "\n");
    EXPECT_EQ(traces_of([&] { read_object(object, index, exact); }), expected);
  }
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
  expect_columns({"var_fcsStatsTable", ""},
                 {{fcsRxGetReqs, word(1), "rx get"},
                  {fcsTxGetReqs, word(2), "tx get"},
                  {fcsRxRegReqs, word(3), "rx reg"},
                  {fcsTxRegReqs, word(5), "tx reg"},
                  {fcsRxDeregReqs, word(4), "rx dereg"},
                  {fcsTxDeregReqs, word(6), "tx dereg"},
                  {fcsTxRscns, word(8), "tx rscn"},
                  {fcsRxRscns, word(7), "rx rscn"},
                  {fcsRejects, word(0xFFFFFFFF), "rej"}},
                 {0});
}

TEST_F(Tables, AllOnesEndsATableAfterItsOidIsRewritten) {
  platform.service = [](const Request &request) {
    FcsStatsRecord stats{};
    stats.vsan = FCS_END_OF_TABLE;
    return Reply{0, request.record_id == FCS_REC_IE ? bytes_of(ie_in(FCS_END_OF_TABLE))
                                                    : bytes_of(stats)};
  };
  for (const FcsObject object : {fcsRejects, fcsIeType, fcsPortListIndex, fcsAttachPortName}) {
    Answer answer;
    const Lines lines = lines_of([&] { answer = read_object(object, {1}, false); });
    EXPECT_FALSE(answer.value);
    EXPECT_EQ(answer.index.front(), 0xFFFFFFFFU);
    EXPECT_THAT(lines.back(), HasSubstr(":return NULL\n"));
    EXPECT_THAT(lines[lines.size() - 2], HasSubstr("_table:end\n"));
  }
}

TEST_F(Tables, ElementColumnsAndTheirLines) {
  serve(ie_in(7));
  expect_traces(kElements, fcsIeDomainId, ie_index(7), true,
                {"length 23, vp->namelen 14 exact 1", "vsan index 7", "end"}, "ie dom id");
  expect_columns(kElements,
                 {{fcsIeType, word(4), "ie type"},
                  {fcsIeDomainId, word(97), "ie dom id"},
                  {fcsIeMgmtId, {0xff, 0xfc, 0x05}, "ie mgmt id"},
                  {fcsIeFabricName, Bytes(8, 0x5a), "fab name"},
                  {fcsIeLogicalName, Bytes(255, 'x'), "log name"},
                  {fcsIeMgmtAddrListIndex, word(0xFFFFFFFE), "mgmt addr list"},
                  {fcsIeInfoList, Bytes(256, 0x77), "info list"},
                  {fcsIePortListIndex, word(12), "port list"}},
                 ie_index(7));
}

TEST_F(Tables, ElementTypesOverTheWholeRange) {
  for (uint32_t type = 0; type <= 255; ++type) {
    uint32_t mapped = type;
    EXPECT_THAT(lines_of([&] { fcs_map_ie_type(&mapped); }),
                ElementsAre("101 fcs_map_ie_type:entering\n", "101 fcs_map_ie_type:end\n"));
    EXPECT_EQ(mapped, type == 1 ? 3U : type == 2 ? 4U : type == 3 ? 5U : 1U);
  }
}

const FcsPortRecord kPort = {9, {0x20, 0, 0, 0, 0x5e, 1, 2, 3}, 0x84, 9, 77, 0x80000001, 12, 2};

TEST_F(Tables, PortColumnsAndTheirLines) {
  serve(kPort);
  expect_columns(kPorts,
                 {{fcsPortType, word(4), "port type"},
                  {fcsPortTxType, word(9), "port tx type"},
                  {fcsPortModuleType, word(77), "module type "},
                  {fcsPortPhyPortNum, word(0x80000001), "physicasl port num"},
                  {fcsPortAttachPortNameIndex, word(12), "port name index"},
                  {fcsPortState, word(3), "port state"}},
                 ie_index(9));
  const std::string asking = "before sending snmp_get_allowed";
  expect_traces(kPorts, fcsPortType, ie_index(9), true,
                {"length 23, vp->namelen 14 exact 1", asking, "end"}, "port type");
  // It traces a request only when its length is right.
  expect_traces(kPorts, fcsPortType, Index(10, 1), true, {}, "NULL");
  platform.restricted = true;
  platform.readable = {9};
  expect_traces(
      kPorts, fcsPortType, {}, false,
      {"length 14, vp->namelen 14 exact 0", asking, "allowed vsans result 1, allowed 0", "end"},
      "port type");
  expect_traces(
      kPorts, fcsPortType, {9}, false,
      {"length 15, vp->namelen 14 exact 0", asking, "allowed vsans result 1, allowed 1", "end"},
      "port type");
}

TEST_F(Tables, PortTableHasNoEndMark) {
  FcsPortRecord last = kPort;
  last.vsan = FCS_END_OF_TABLE;
  serve(last);
  EXPECT_EQ(read_object(fcsPortModuleType, {}, false).value, word(77));
}

TEST_F(Tables, PortListsAndAttachedNames) {
  serve(FcsPortListRecord{6, {0x20, 0, 0, 0, 0x5e, 1, 2, 3}});
  expect_columns(kPortLists, {{fcsPortListIndex, word(6), "port list index"}}, ie_index(6));
  expect_traces(kPortLists, fcsPortListIndex, {6}, false,
                {"length 15, vp->namelen 14 exact 0", "port list index 6", "end"},
                "port list index");
  expect_traces(kPortLists, fcsPortListIndex, Index(10, 1), true,
                {"length 24, vp->namelen 14 exact 1"}, "NULL");

  serve(FcsAttachPortRecord{7, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255}});
  expect_columns(
      kAttached,
      {{fcsAttachPortName, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255}, "attach port name"}},
      {7, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255});
  expect_traces(kAttached, fcsAttachPortName, {7}, false,
                {"length 15, vp->namelen 14 exact 0", "entry attach port name index 7", "end"},
                "attach port name");
}

TEST_F(Tables, PortCodesOverTheWholeRange) {
  const std::map<uint32_t, uint32_t> types = {
      {0x00, 1}, {0x01, 9},  {0x02, 10}, {0x7F, 11}, {0x81, 2}, {0x82, 3},  {0x84, 4},
      {0x85, 5}, {0xF9, 18}, {0xFA, 17}, {0xFC, 13}, {0xFD, 7}, {0xFE, 12}, {0xFF, 8}};
  for (uint32_t code = 0; code <= 256; ++code) {
    uint32_t type = code;
    fcs_map_port_type(&type);
    EXPECT_EQ(type, types.count(code) != 0 ? types.at(code) : code);
    uint32_t state = code;
    fcs_map_port_state(&state);
    EXPECT_EQ(state, std::min(code + 1, 6U));
    uint32_t tx_type = code;
    fcs_map_port_tx_type(&tx_type);
    EXPECT_EQ(tx_type, code);
    uint32_t platform_type = code;
    fcs_map_platform_type(&platform_type);
    EXPECT_EQ(platform_type, code >= 5 && code <= 14 ? code - 2 : code);
    uint32_t back = code;
    fcs_reverse_map_platform_type(&back);
    EXPECT_EQ(back, code >= 3 && code <= 12 ? code + 2 : code);
  }
}

TEST_F(Tables, ConfigurableColumnsAndTheirLines) {
  MgmtAddrEntry address{.list_index = 3, .address_index = -2, .address_length = 255};
  memset(address.address, 0xA5, sizeof(address.address));
  serve(address);
  expect_columns(kAddresses,
                 {{fcsMgmtAddr, Bytes(255, 0xA5), "mgmt addr"},
                  {fcsMgmtAddrConfigSource, word(2), "mgmt addr config source"},
                  {fcsMgmtAddrRowStatus, word(1), "addr row status"}},
                 {3, 0xFFFFFFFE});
  expect_traces(kAddresses, fcsMgmtAddrRowStatus, {3, 1}, true,
                {"length 16, vp->namelen 14 exact 1"}, "addr row status");

  const PlatformEntry row{.vsan = 4,
                          .platform_index = 9,
                          .name_length = 3,
                          .name = {'a', 'b', 'c'},
                          .type = 7,
                          .node_name_list_index = 21,
                          .mgmt_addr_list_index = 22,
                          .config_source = 0x100,
                          .validation_result = 3,
                          .validation_request = 1};
  serve(row);
  expect_columns(kPlatforms,
                 {{fcsPlatformName, {'a', 'b', 'c'}, "plat name"},
                  {fcsPlatformType, word(5), "plat type"},
                  {fcsPlatformNodeNameListIndex, word(21), "node name index"},
                  {fcsPlatformMgmtAddrListIndex, word(22), "mgmt addr list"},
                  {fcsPlatformConfigSource, word(1), "config source"},
                  {fcsPlatformValidation, word(2), "validation"},
                  {fcsPlatformValidationResult, word(3), "validation result"},
                  {fcsPlatformRowStatus, word(1), "row status"}},
                 {4, 9});
  expect_traces(kPlatforms, fcsPlatformRowStatus, {4}, false,
                {"length 15, vp->namelen 14 exact 0", "vsan index 4, platform index 0", "end"},
                "row status");

  serve(NodeNameEntry{8, {0x20, 0, 0, 0, 0x5e, 1, 2, 3}, 1, 0});
  expect_columns(kNodeNames,
                 {{fcsNodeNameConfigSource, word(1), "conf stat"},
                  {fcsNodeNameRowStatus, word(1), "row stat"}},
                 ie_index(8));
  expect_traces(kNodeNames, fcsNodeNameRowStatus, {8}, false,
                {"length 15, vp->namelen 14 exact 0", "node name index 8", "end"}, "row stat");
}

TEST_F(Tables, WritableColumnsHandOutTheirHandlers) {
  const std::pair<FcsObject, WriteMethod *> columns[] = {
      {fcsMgmtAddr, write_fcsMgmtAddr},
      {fcsMgmtAddrConfigSource, nullptr},
      {fcsMgmtAddrRowStatus, write_fcsMgmtAddrRowStatus},
      {fcsPlatformName, write_fcsPlatformName},
      {fcsPlatformType, write_fcsPlatformType},
      {fcsPlatformNodeNameListIndex, write_fcsPlatformNodeNameListIndex},
      {fcsPlatformMgmtAddrListIndex, write_fcsPlatformMgmtAddrListIndex},
      {fcsPlatformConfigSource, nullptr},
      {fcsPlatformValidation, write_fcsPlatformValidation},
      {fcsPlatformValidationResult, nullptr},
      {fcsPlatformRowStatus, write_fcsPlatformRowStatus},
      {fcsNodeNameConfigSource, nullptr},
      {fcsNodeNameRowStatus, write_fcsNodeNameRowStatus},
  };
  for (const auto &[object, handler] : columns) {
    platform.service = [](const Request &) { return Reply{0, Bytes(300, 1)}; };
    EXPECT_EQ(read_object(object, {1, 1}, true).write_method, handler) << "row present " << object;
    platform.service = [](const Request &) { return Reply{FCS_ERR_NO_SUCH_ROW, {}}; };
    const Answer absent = read_object(object, {1, 1}, true);
    EXPECT_FALSE(absent.value);
    EXPECT_EQ(absent.write_method, handler) << "row absent " << object;
  }
}

TEST_F(Tables, DiscoveryStatusAndCompletion) {
  timeval started = {};
  gettimeofday(&started, nullptr);
  netsnmp_set_agent_starttime(&started);
  const auto seconds = static_cast<int32_t>(started.tv_sec);
  const auto microseconds = static_cast<int32_t>(started.tv_usec);
  const struct {
    int32_t seconds;
    int32_t microseconds;
    uint32_t shown; ///< Hundredths of a second.
  } completions[] = {{0, 0, 0},
                     {seconds + 50, microseconds, 5000},
                     {seconds + 300 * 86400, microseconds, 300U * 8640000U},
                     {seconds + 50, microseconds - 10'000'000, 4000},
                     {seconds + 50, microseconds - 60'000'000, 0},
                     {seconds, microseconds, 0},
                     {seconds - 50, microseconds, 0},
                     {1, 0, 0}};
  for (const auto &completion : completions) {
    serve(fcs_disc_status_record{9, 2, completion.seconds, completion.microseconds});
    expect_columns(kStatus,
                   {{fcsDiscoveryStatus, word(2), "Discstatus"},
                    {fcsDiscoveryCompletedTime, word(completion.shown), "Disccomptime"}},
                   {9});
  }
  expect_traces(kStatus, fcsDiscoveryStatus, {9}, true,
                {"length 15, vp->namelen 14 exact 1", "vsan index 9", "end"}, "Discstatus");
  serve(fcs_disc_status_record{FCS_END_OF_TABLE, 2, 0, 0});
  EXPECT_EQ(lines_of([] { EXPECT_FALSE(read_object(fcsDiscoveryStatus, {}, false).value); }).back(),
            "101 header_fcs_disc_status_table:end\n");
}

TEST_F(Tables, UnknownMagicsAnswerWithAnEmptyDetail) {
  platform.service = [](const Request &) { return Reply{0, Bytes(600, 1)}; };
  for (const FcsObject object :
       {fcsRejects, fcsIeType, fcsPortListIndex, fcsPortType, fcsAttachPortName, fcsMgmtAddr,
        fcsPlatformName, fcsNodeNameRowStatus, fcsDiscoveryStatus}) {
    variable unknown = platform.registered_for(object);
    unknown.magic = 200;
    Name name(unknown, {});
    const Lines lines = lines_of([&] { EXPECT_FALSE(read_name(unknown, name, false).value); });
    EXPECT_EQ(lines.back(), "detail ''");
  }
}

} // namespace
