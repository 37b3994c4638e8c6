/** Rows that managers create, change and delete: statuses, texts and their order, requests. */
#include "recording_platform.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <cerrno>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int32_t kActive = 1;
constexpr int32_t kCreateAndGo = 4;
constexpr int32_t kDestroy = 6;

const std::vector<oid> kPair = {3, 7};
const std::vector<oid> kNodeName = {5, 0x20, 1, 2, 3, 4, 5, 6, 255};

constexpr PlatformEntry kLivePlatform = {.vsan = 3,
                                         .platform_index = 7,
                                         .name_length = 2,
                                         .name = {'p', 'q'},
                                         .type = 10,
                                         .node_name_list_index = 21,
                                         .mgmt_addr_list_index = 22,
                                         .config_source = 1,
                                         .validation_result = 2,
                                         .validation_request = 1,
                                         .row_status = 1};

Binding integer(FcsObject object, int32_t value, const std::vector<oid> &index = kPair) {
  return {object, index, ASN_INTEGER, bytes_of(value)};
}

Binding text(FcsObject object, const std::string &value, const std::vector<oid> &index = kPair) {
  return {object, index, ASN_OCTET_STR, Bytes(value.begin(), value.end())};
}

/** The service has the rows that a manager asks for, or it has none; changes end as `result`. */
void serve(bool live, int32_t result = 0) {
  platform.service = [live, result](const Request &request) {
    if (request.operation != FCS_OP_GET) {
      errno = ECONNRESET;
      return Reply{result, {}};
    }
    if (!live) {
      return Reply{FCS_ERR_NO_SUCH_ROW, {}};
    }
    Bytes row = request.payload;
    if (request.record_id == FCS_REC_PLATFORM) {
      row = bytes_of(kLivePlatform);
    }
    return Reply{0, row};
  };
}

/** What the handlers themselves say, in order: traces, standard error, logs; not what they look up.
 */
Lines told(const std::function<void()> &action) {
  Lines result;
  for (std::string line : lines_of(action)) {
    if (line.starts_with("101 write_") || line.starts_with("100 ") || line.starts_with("log ") ||
        (line.starts_with("stderr ") && line != "stderr Before CMI\n")) {
      line.pop_back();
      result.push_back(line.starts_with("101 ") ? line.substr(10) : line);
    }
  }
  return result;
}

/** What the handlers say of a SET that has to end with this status. */
Lines set(const std::vector<Binding> &bindings, int expected = SNMP_ERR_NOERROR) {
  platform.changes.clear();
  return told([&] { EXPECT_EQ(write_set(bindings), expected); });
}

/** The rows that were set and deleted: "operation record". */
Lines changes() {
  Lines result;
  for (const Request &change : platform.changes) {
    result.push_back((change.operation == FCS_OP_SET ? "set " : "delete ") +
                     std::to_string(change.record_id));
  }
  return result;
}

class ConfigRows : public testing::Test {
protected:
  void SetUp() override {
    start_module();
    serve(false);
  }
};

TEST_F(ConfigRows, RefusalsOfTypeAndLength) {
  const struct {
    FcsObject object;
    const char *name;
    u_char type;
    size_t shortest, longest;
    const char *wrong_type, *bad_length;
  } cases[] = {
      {fcsMgmtAddr, "fcsMgmtAddr", ASN_OCTET_STR, 0, 255, "wrong type", "bad length"},
      {fcsMgmtAddrRowStatus, "fcsMgmtAddrRowStatus", ASN_INTEGER, 0, 4, "wrong type",
       "wrong length"},
      {fcsPlatformName, "fcsPlatformName", ASN_OCTET_STR, 1, 255, "wrong type", "wrong length"},
      {fcsPlatformType, "fcsPlatformType", ASN_INTEGER, 0, 4, "wrong type", "wrong len"},
      {fcsPlatformNodeNameListIndex, "fcsPlatformNodeNameListIndex", ASN_INTEGER, 0, 4,
       "wrong type", "bad len"},
      {fcsPlatformMgmtAddrListIndex, "fcsPlatformMgmtAddrListIndex", ASN_INTEGER, 0, 4,
       "wrong type", "wrong length"},
      {fcsPlatformValidation, "fcsPlatformValidation", ASN_INTEGER, 0, 4, "wrong type", "bad len"},
      {fcsPlatformRowStatus, "fcsPlatformRowStatus", ASN_INTEGER, 0, 4, "wr type", "wr len"},
      {fcsNodeNameRowStatus, "fcsNodeNameRowStatus", ASN_INTEGER, 0, 4, "wr type", "wr len"},
  };
  for (const auto &c : cases) {
    const std::string name = c.name;
    SCOPED_TRACE(name);
    const u_char other = c.type == ASN_INTEGER ? ASN_OCTET_STR : ASN_INTEGER;
    std::string other_type = "stderr write to " + name;
    other_type += c.type == ASN_INTEGER ? " not ASN_INTEGER" : " not ASN_OCTET_STR";
    EXPECT_THAT(set({{c.object, kPair, other, Bytes(600, 1)}}, SNMP_ERR_WRONGTYPE),
                ElementsAre(name + ":enter rev1", other_type, name + ":" + c.wrong_type));
    Lines refused = {"stderr write to " + name + ": bad length", name + ":" + c.bad_length};
    if (c.object == fcsMgmtAddrRowStatus) {
      std::swap(refused[0], refused[1]);
    }
    refused.insert(refused.begin(), name + ":enter rev1");
    const Bytes beyond(c.longest + 1, 1);
    EXPECT_EQ(set({{c.object, kPair, c.type, beyond}}, SNMP_ERR_WRONGLENGTH), refused);
    if (c.shortest != 0) {
      EXPECT_EQ(set({{c.object, kPair, c.type, {}}}, SNMP_ERR_WRONGLENGTH), refused);
    }
  }
}

/** A SET, how it has to end, and what is said and changed; handlers go by one letter. */
struct Case {
  const char *what;
  std::vector<Binding> bindings;
  bool live;
  int status;
  std::string said;
  Lines changed;
};

/** Lines in one, with letters for the handlers. */
std::string joined(const Lines &lines) {
  constexpr std::pair<const char *, const char *> kLetters[] = {
      {"fcsMgmtAddr:", "A:"},         {"fcsMgmtAddrRowStatus:", "S:"},
      {"fcsPlatformName:", "N:"},     {"fcsPlatformRowStatus:", "P:"},
      {"fcsPlatformType:", "T:"},     {"fcsPlatformValidation:", "V:"},
      {"fcsNodeNameRowStatus:", "L:"}};
  std::string all;
  for (const std::string &line : lines) {
    std::string said = line;
    for (const auto &[name, letter] : kLetters) {
      if (said.starts_with(name)) {
        said.replace(0, strlen(name), letter);
      }
    }
    all += (all.empty() ? "" : "|") + said;
  }
  return all;
}

void run(const std::vector<Case> &cases) {
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    start_module();
    serve(c.live);
    EXPECT_EQ(joined(set(c.bindings, c.status)), c.said);
    EXPECT_EQ(changes(), c.changed);
  }
}

TEST_F(ConfigRows, RequestsForManagementAddresses) {
  const Binding address = text(fcsMgmtAddr, "10.0.0.1");
  const auto status = [](int32_t v) { return integer(fcsMgmtAddrRowStatus, v); };
  const std::string reserved = "A:enter rev1|A:exit rev1|S:enter rev1|S:exit rev1|";
  run({
      {"create, address first",
       {address, status(kCreateAndGo)},
       false,
       0,
       reserved + "A:enter rev2|A:exit rev2|S:enter rev2|S:exit rev2|S:enter action|S:exit action",
       {"set 30"}},
      {"create, row status first",
       {status(kCreateAndGo), address},
       false,
       0,
       "S:enter rev1|S:exit rev1|A:enter rev1|A:exit rev1|S:enter rev2|S:exit rev2|"
       "A:enter rev2|A:exit rev2|S:enter action|S:exit action",
       {"set 30"}},
      {"create with the longest address",
       {status(kCreateAndGo), text(fcsMgmtAddr, std::string(255, 'a'))},
       false,
       0,
       "S:enter rev1|S:exit rev1|A:enter rev1|A:exit rev1|S:enter rev2|S:exit rev2|"
       "A:enter rev2|A:exit rev2|S:enter action|S:exit action",
       {"set 30"}},
      {"create without address",
       {status(kCreateAndGo)},
       false,
       SNMP_ERR_INCONSISTENTVALUE,
       "S:enter rev1|S:exit rev1|S:enter rev2|S:length is zero",
       {}},
      {"create with an empty address",
       {status(kCreateAndGo), text(fcsMgmtAddr, "")},
       false,
       SNMP_ERR_INCONSISTENTVALUE,
       "S:enter rev1|S:exit rev1|A:enter rev1|A:exit rev1|S:enter rev2|S:length is zero|"
       "A:enter rev2|A:exit rev2",
       {}},
      {"create what is there",
       {status(kCreateAndGo)},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       "S:enter rev1|stderr Ret inconsis 3|S:inval val",
       {}},
      {"destroy",
       {status(kDestroy)},
       true,
       0,
       "S:enter rev1|S:exit rev1|S:enter rev2|S:exit rev2|S:enter action|S:exit action",
       {"delete 30"}},
      {"destroy what is not there",
       {status(kDestroy)},
       false,
       0,
       "S:enter rev1|S:exit rev1|S:enter rev2|S:exit rev2|S:enter action|S:end",
       {}},
      {"active, absent",
       {address, status(kActive)},
       false,
       SNMP_ERR_INCONSISTENTVALUE,
       reserved + "A:enter rev2|A:exit rev2|S:enter rev2|S:exit rev2|S:enter action|"
                  "S:inconsistent val",
       {}},
      {"active, present",
       {status(kActive)},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       "S:enter rev1|S:exit rev1|S:enter rev2|S:length is zero",
       {}},
      {"active and address, present",
       {address, status(kActive)},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       reserved + "A:enter rev2|A:inconsistent val|S:enter rev2|S:exit rev2",
       {}},
      {"address alone, absent",
       {address},
       false,
       SNMP_ERR_INCONSISTENTVALUE,
       "A:enter rev1|A:exit rev1|A:enter rev2|A:row st 0",
       {}},
      {"address alone, present",
       {address},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       "A:enter rev1|A:exit rev1|A:enter rev2|A:inconsistent val",
       {}},
  });
}

TEST_F(ConfigRows, RequestsForPlatforms) {
  const Binding name = text(fcsPlatformName, "host");
  const auto status = [](int32_t v) { return integer(fcsPlatformRowStatus, v); };
  const std::string reserved = "N:enter rev1|N:exit rev1|P:enter rev1|P:exit rev1|";
  run({
      {"create, name first",
       {name, status(kCreateAndGo)},
       false,
       0,
       reserved + "N:enter rev2|N:exit rev1|P:enter rev2|P:exit rev1|P:enter action|P:exit action",
       {"set 70"}},
      {"create without name",
       {status(kCreateAndGo)},
       false,
       SNMP_ERR_INCONSISTENTVALUE,
       "P:enter rev1|P:exit rev1|P:enter rev2|P:length is zero",
       {}},
      {"create what is there",
       {status(kCreateAndGo)},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       "P:enter rev1|stderr Ret inconsis 3|P: inconsistent 2",
       {}},
      {"destroy",
       {status(kDestroy)},
       true,
       0,
       "P:enter rev1|P:exit rev1|P:enter rev2|P:exit rev1|P:enter action|P:exit action",
       {"delete 70"}},
      {"destroy what is not there",
       {status(kDestroy)},
       false,
       0,
       "P:enter rev1|P:exit rev1|P:enter rev2|P:exit rev1|P:enter action|P:end",
       {}},
      {"active, absent",
       {name, status(kActive)},
       false,
       SNMP_ERR_INCONSISTENTVALUE,
       reserved + "N:enter rev2|N:exit rev1|P:enter rev2|P:exit rev1|P:enter action|P:inconsis",
       {}},
      {"active, present",
       {status(kActive)},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       "P:enter rev1|P:exit rev1|P:enter rev2|P:length is zero",
       {}},
      {"name alone, absent",
       {name},
       false,
       SNMP_ERR_INCONSISTENTVALUE,
       "N:enter rev1|N:exit rev1|N:enter rev2|N:row stat is zero",
       {}},
      {"name alone, present",
       {name},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       "N:enter rev1|N:exit rev1|N:enter rev2|N:inconsistent",
       {}},
      {"blank in front",
       {text(fcsPlatformName, " x")},
       false,
       SNMP_ERR_WRONGVALUE,
       "N:enter rev1|N:wrong val",
       {}},
      {"blank behind",
       {text(fcsPlatformName, "x ")},
       false,
       SNMP_ERR_WRONGVALUE,
       "N:enter rev1|N:wrong val",
       {}},
  });
}

TEST_F(ConfigRows, RequestsForNodeNames) {
  const auto status = [](int32_t v) { return integer(fcsNodeNameRowStatus, v, kNodeName); };
  const std::string passes = "L:enter rev1|L:exit rev1|L:enter rev2|L:exit rev2|L:enter action|";
  const std::string end = "L:enter rev1|L:exit rev1|L:enter rev2|L:end|L:enter action|";
  std::vector<oid> longer = kNodeName;
  longer.push_back(1);
  const std::vector<oid> shorter(kNodeName.begin(), kNodeName.end() - 1);
  const std::string no_name = "L:enter rev1|L:inconsis name";
  run({
      {"create", {status(kCreateAndGo)}, false, 0, passes + "L:exit action", {"set 80"}},
      {"create what is there",
       {status(kCreateAndGo)},
       true,
       SNMP_ERR_INCONSISTENTVALUE,
       "L:enter rev1|L:inconsis len",
       {}},
      {"destroy", {status(kDestroy)}, true, 0, passes + "L:exit action", {"delete 80"}},
      {"destroy what is not there",
       {status(kDestroy)},
       false,
       0,
       end + "L:exit action",
       {"delete 80"}},
      {"active, present", {status(kActive)}, true, 0, passes + "L:exit action", {}},
      {"active, absent", {status(kActive)}, false, 0, passes + "L:exit action", {}},
      {"an index too long",
       {integer(fcsNodeNameRowStatus, kCreateAndGo, longer)},
       false,
       SNMP_ERR_INCONSISTENTNAME,
       no_name,
       {}},
      {"an index too short",
       {integer(fcsNodeNameRowStatus, kCreateAndGo, shorter)},
       false,
       SNMP_ERR_INCONSISTENTNAME,
       no_name,
       {}},
  });
  serve(false);
  std::vector<oid> wide = kNodeName;
  wide[1] = 0x120; // Its low octet counts.
  set({integer(fcsNodeNameRowStatus, kCreateAndGo, wide)});
  EXPECT_EQ(platform.changes.at(0).payload,
            bytes_of(NodeNameEntry{5, {0x20, 1, 2, 3, 4, 5, 6, 255}, 0, 0}));
}

TEST_F(ConfigRows, StatusesThatAreNoRequest) {
  const struct {
    FcsObject object;
    std::vector<oid> index;
    const char *said;
  } columns[] = {{fcsMgmtAddrRowStatus, kPair, "S:enter rev1|S:inconsis val"},
                 {fcsPlatformRowStatus, kPair, "P:enter rev1|P:inconsistent"},
                 {fcsNodeNameRowStatus, kNodeName, "L:enter rev1|L:inconsis"}};
  for (const auto &c : columns) {
    for (const int32_t value : {0, 2, 3, 5, 7, -1, INT32_MIN, INT32_MAX}) {
      EXPECT_EQ(joined(set({integer(c.object, value, c.index)}, SNMP_ERR_INCONSISTENTVALUE)),
                c.said);
    }
    // Of a value without octets nothing is 1 to 6 either, but its length passes.
    EXPECT_EQ(joined(set({{c.object, c.index, ASN_INTEGER, {}}}, SNMP_ERR_INCONSISTENTVALUE)),
              c.said);
  }
  EXPECT_EQ(pending_rows(), 0U);
}

TEST_F(ConfigRows, WhatIsSentDependsOnWhichBindingComesFirst) {
  PlatformEntry expected{.vsan = 3,
                         .platform_index = 7,
                         .name_length = 4,
                         .name = {'h', 'o', 's', 't'},
                         .row_status = kCreateAndGo};
  set({integer(fcsPlatformRowStatus, kCreateAndGo), text(fcsPlatformName, "host")});
  EXPECT_EQ(platform.changes.at(0).payload, bytes_of(expected));
  expected.type = expected.config_source = expected.validation_result = 1;
  set({text(fcsPlatformName, "host"), integer(fcsPlatformRowStatus, kCreateAndGo)});
  EXPECT_EQ(platform.changes.at(0).payload, bytes_of(expected));

  set({text(fcsMgmtAddr, "addr", {4294967295, 1}),
       integer(fcsMgmtAddrRowStatus, kCreateAndGo, {4294967295, 1})});
  EXPECT_EQ(platform.changes.at(0).payload, bytes_of(MgmtAddrEntry{.list_index = -1,
                                                                   .address_index = 1,
                                                                   .address_length = 4,
                                                                   .address = {'a', 'd', 'd', 'r'},
                                                                   .row_status = kCreateAndGo}));
  EXPECT_EQ(pending_rows(), 0U);

  serve(true);
  set({integer(fcsPlatformRowStatus, kDestroy)});
  EXPECT_EQ(platform.changes.at(0).payload,
            bytes_of(PlatformEntry{.vsan = 3, .platform_index = 7}));
}

TEST_F(ConfigRows, FailedActionsAreReportedAndLeaveTheirRow) {
  const struct {
    std::vector<Binding> bindings;
    std::string event;
  } cases[] = {
      {{text(fcsMgmtAddr, "a"), integer(fcsMgmtAddrRowStatus, kCreateAndGo)},
       "100 Setting of mgmt addr fails witherror : "},
      {{text(fcsPlatformName, "p"), integer(fcsPlatformRowStatus, kCreateAndGo)},
       "100 Create of platform fails with error "},
      {{integer(fcsNodeNameRowStatus, kDestroy, kNodeName)},
       "100 Delete of node name fails with error "},
  };
  for (const auto &c : cases) {
    serve(false, 77);
    const Lines refused = set(c.bindings, SNMP_ERR_GENERR);
    EXPECT_THAT(Lines(refused.end() - 2, refused.end()),
                ElementsAre(c.event + "text of 77", "log error 77 'text of 77"));
    serve(false, -1); // The system's text in the event, but not in the log.
    const Lines failed = set(c.bindings, SNMP_ERR_GENERR);
    EXPECT_THAT(Lines(failed.end() - 2, failed.end()),
                ElementsAre(c.event + strerror(ECONNRESET), "log error -1 '?"));
  }
  EXPECT_EQ(pending_rows(), 2U);
  // A row status is there already: the address alone passes, and sends nothing.
  serve(false);
  set({text(fcsMgmtAddr, "b")});
  EXPECT_THAT(changes(), IsEmpty());
  set({integer(fcsMgmtAddrRowStatus, kCreateAndGo)});
  EXPECT_EQ(platform.changes.at(0).payload.at(offsetof(MgmtAddrEntry, address)), 'b');
  set({integer(fcsPlatformRowStatus, kCreateAndGo)});
  EXPECT_EQ(pending_rows(), 0U);
}

TEST_F(ConfigRows, NoRowStaysBehindAfterAnyFailureButAnAction) {
  const std::vector<Binding> rows = {
      text(fcsMgmtAddr, "a"), integer(fcsMgmtAddrRowStatus, kCreateAndGo),
      integer(fcsPlatformRowStatus, kCreateAndGo), text(fcsPlatformName, "p")};
  const Binding fails_in_reserve1 = integer(fcsPlatformType, 0);
  const Binding fails_in_reserve2 = text(fcsMgmtAddr, "without a status", {3, 8});
  const Binding fails_in_action = integer(fcsPlatformType, 1, {9, 9});
  for (int i = 0; i < 10000; ++i) {
    std::vector<Binding> bindings = rows;
    const int phase = i % 3;
    bindings.push_back(phase == 0   ? fails_in_reserve1
                       : phase == 1 ? fails_in_reserve2
                                    : fails_in_action);
    ASSERT_NE(write_set(bindings), SNMP_ERR_NOERROR);
    ASSERT_EQ(pending_rows(), phase == 2 ? 2U : 0U);
  }
  platform.failing_adds = true;
  set({rows[0], rows[1]}, SNMP_ERR_GENERR);
  set({rows[2], rows[3]}, SNMP_ERR_GENERR);
  EXPECT_EQ(pending_rows(), 0U);
}

TEST_F(ConfigRows, IntegerColumnsChangeTheLiveRow) {
  const struct {
    FcsObject object;
    int32_t value;
    uint32_t PlatformEntry::*field;
    uint32_t sent;
    const char *name;
    const char *subject;
  } accepted[] = {
      {fcsPlatformType, 1, &PlatformEntry::type, 1, "fcsPlatformType", "platform type"},
      {fcsPlatformType, 12, &PlatformEntry::type, 14, "fcsPlatformType", "platform type"},
      {fcsPlatformNodeNameListIndex, -1, &PlatformEntry::node_name_list_index, 0xFFFFFFFF,
       "fcsPlatformNodeNameListIndex", "plat node name indx"},
      {fcsPlatformMgmtAddrListIndex, INT32_MAX, &PlatformEntry::mgmt_addr_list_index, 0x7FFFFFFF,
       "fcsPlatformMgmtAddrListIndex", "plat mgmt addr indx"},
      {fcsPlatformValidation, 1, &PlatformEntry::validation_request, 1, "fcsPlatformValidation",
       "plat validation"},
      {fcsPlatformValidation, 2, &PlatformEntry::validation_request, 0, "fcsPlatformValidation",
       "plat validation"},
  };
  for (const auto &c : accepted) {
    SCOPED_TRACE(c.name);
    const std::string name = c.name;
    serve(true);
    EXPECT_THAT(set({integer(c.object, c.value)}),
                ElementsAre(name + ":enter rev1", name + ":exit rev1", name + ":enter action",
                            name + ":exit action"));
    PlatformEntry expected = kLivePlatform;
    expected.validation_request = 0;
    expected.*c.field = c.sent;
    ASSERT_THAT(changes(), ElementsAre("set 70"));
    EXPECT_EQ(platform.changes[0].payload, bytes_of(expected));

    serve(true, 77);
    EXPECT_THAT(
        set({integer(c.object, c.value)}, SNMP_ERR_GENERR),
        ElementsAre(name + ":enter rev1", name + ":exit rev1", name + ":enter action",
                    std::string("100 Setting of ") + c.subject + " fails witherror : text of 77",
                    "log error 77 'text of 77"));
    serve(false);
    EXPECT_THAT(set({integer(c.object, c.value)}, SNMP_ERR_INCONSISTENTVALUE),
                ElementsAre(name + ":enter rev1", name + ":exit rev1", name + ":enter action",
                            name + ":inconsistent"));
  }
  for (const int32_t value : {0, 13, -1, INT32_MIN}) {
    EXPECT_EQ(joined(set({integer(fcsPlatformType, value)}, SNMP_ERR_BADVALUE)),
              "T:enter rev1|T:bad val");
  }
  for (const int32_t value : {0, 3, -1}) {
    EXPECT_EQ(joined(set({integer(fcsPlatformValidation, value)}, SNMP_ERR_BADVALUE)),
              "V:enter rev1|V:bad val");
  }
}

TEST_F(ConfigRows, RolesAreAskedBeforePlatformsAreCreatedOrDestroyed) {
  platform.restricted = true;
  platform.readable = {2, 4};
  for (const int32_t status : {kActive, kCreateAndGo, kDestroy}) {
    const Lines lines = lines_of([&] {
      EXPECT_EQ(write_set({integer(fcsPlatformRowStatus, status), text(fcsPlatformName, "p")}),
                SNMP_ERR_GENERR);
    });
    EXPECT_THAT(Lines(lines.begin(), lines.begin() + 5),
                ElementsAre("101 write_fcsPlatformRowStatus:enter rev1\n",
                            "role vsans 163 .1.3.6.1.4.1.32473.1.1.1.1.18.1.9.3.7 bytes 512",
                            "role allowed 3", "log role error 4049002c",
                            "101 write_fcsPlatformRowStatus:role vsan not allowed\n"));
  }
  EXPECT_EQ(pending_rows(), 0U);
  platform.readable = {3};
  set({integer(fcsPlatformRowStatus, kCreateAndGo), text(fcsPlatformName, "p")});
  EXPECT_THAT(changes(), ElementsAre("set 70"));
}

} // namespace
