/** Rows that managers create, change and delete: statuses, texts and their order, requests. */
#include "agent_calls.h"

#include <cerrno>
#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

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

/** The records that the last SET had set or deleted. */
std::vector<Request> sent;

/** The service has the rows that a manager asks for, or it has none; changes end as `result`. */
void serve(bool live, int32_t result = 0) {
  platform.service = [live, result](const Request &request) {
    if (request.operation != FCS_OP_GET) {
      sent.push_back(request);
      errno = ECONNRESET;
      return Reply{result, {}};
    }
    if (!live) {
      return Reply{FCS_ERR_NO_SUCH_ROW, {}};
    }
    return Reply{0,
                 request.record_id == FCS_REC_PLATFORM ? bytes_of(kLivePlatform) : request.payload};
  };
}

/** What the handlers say of a SET that has to end with this status, in order: traces, standard
 * error, logs; not what they look up. Each line ends with a bar in place of its own end. */
std::string set(std::vector<Binding> bindings, int expected = SNMP_ERR_NOERROR) {
  sent.clear();
  std::string told;
  for (std::string line : lines_of([&] { EXPECT_EQ(write_set(bindings), expected); })) {
    if (line.starts_with("101 write_") || line.starts_with("100 ") || line.starts_with("log ") ||
        (line.starts_with("stderr ") && line != "stderr Before CMI\n")) {
      line.back() = '|';
      told += line.starts_with("101 ") ? line.substr(10) : line;
    }
  }
  return told;
}

/** Two traces of a handler. */
std::string pair(const std::string &handler, const char *enter, const char *exit) {
  return handler + ":" + enter + "|" + handler + ":" + exit + "|";
}

/** The rows that were set and deleted: "operation record". */
Lines changes() {
  Lines result;
  for (const Request &change : sent) {
    result.push_back((change.operation == FCS_OP_SET ? "set " : "delete ") +
                     std::to_string(change.record_id));
  }
  return result;
}

/** Has a SET done on a module just started, with or without the row that it names. */
void expect_set(const char *what, bool live, const std::vector<Binding> &bindings, int status,
                const std::string &said, const Lines &changed = {}) {
  SCOPED_TRACE(what);
  start_module();
  serve(live);
  EXPECT_EQ(set(bindings, status), said);
  EXPECT_EQ(changes(), changed);
}

class ConfigRows : public testing::Test {
protected:
  void SetUp() override {
    start_module();
    serve(false);
  }
};

/** A table whose rows are assembled, and what its two handlers say of them. */
struct AssembledTable {
  FcsObject text, status;
  std::string t, s;
  const char *record;
  const char *confirmed, *live, *no_status, *taken, *not_acted_on;
};

const AssembledTable kAssembledTables[] = {
    {fcsMgmtAddr, fcsMgmtAddrRowStatus, "fcsMgmtAddr", "fcsMgmtAddrRowStatus", "30", "exit rev2",
     "inconsistent val", "row st 0", "inval val", "inconsistent val"},
    {fcsPlatformName, fcsPlatformRowStatus, "fcsPlatformName", "fcsPlatformRowStatus", "70",
     "exit rev1", "inconsistent", "row stat is zero", " inconsistent 2", "inconsis"}};

void expect_assembly(const AssembledTable &table) {
  const auto &[text_object, status, t, s, record, confirmed, live, no_status, taken, not_acted_on] =
      table;
  SCOPED_TRACE(t);
  constexpr int kInconsistent = SNMP_ERR_INCONSISTENTVALUE;
  const Binding value = text(text_object, "10.0.0.1");
  const Binding longest = text(text_object, std::string(255, 'a'));
  const Binding create = integer(status, kCreateAndGo);
  const Binding destroy = integer(status, kDestroy);
  const Binding active = integer(status, kActive);
  const std::string t1 = pair(t, "enter rev1", "exit rev1");
  const std::string s1 = pair(s, "enter rev1", "exit rev1");
  const std::string t2 = pair(t, "enter rev2", confirmed);
  const std::string s2 = pair(s, "enter rev2", confirmed);
  const std::string zero = pair(s, "enter rev2", "length is zero");
  const std::string not_now = pair(t, "enter rev2", live);
  const std::string acted = pair(s, "enter action", "exit action");
  const Lines is_set = {std::string("set ") + record};
  const Lines is_deleted = {std::string("delete ") + record};
  expect_set("create, text first", false, {value, create}, 0, t1 + s1 + t2 + s2 + acted, is_set);
  expect_set("status first", false, {create, value}, 0, s1 + t1 + s2 + t2 + acted, is_set);
  expect_set("longest", false, {create, longest}, 0, s1 + t1 + s2 + t2 + acted, is_set);
  expect_set("create without text", false, {create}, kInconsistent, s1 + zero);
  expect_set("create what is there", true, {create}, kInconsistent,
             s + ":enter rev1|stderr Ret inconsis 3|" + s + ":" + taken + "|");
  expect_set("destroy", true, {destroy}, 0, s1 + s2 + acted, is_deleted);
  expect_set("destroy what is not there", false, {destroy}, 0,
             s1 + s2 + pair(s, "enter action", "end"));
  expect_set("active, absent", false, {value, active}, kInconsistent,
             t1 + s1 + t2 + s2 + pair(s, "enter action", not_acted_on));
  expect_set("active, present", true, {active}, kInconsistent, s1 + zero);
  expect_set("active and text, present", true, {value, active}, kInconsistent,
             t1 + s1 + not_now + s2);
  expect_set("text alone, absent", false, {value}, kInconsistent,
             t1 + pair(t, "enter rev2", no_status));
  expect_set("text alone, present", true, {value}, kInconsistent, t1 + not_now);
  if (text_object == fcsMgmtAddr) { // No platform has an empty name.
    expect_set("create with an empty address", false, {create, text(text_object, "")},
               kInconsistent, s1 + t1 + zero + t2);
  }
}

TEST_F(ConfigRows, RequestsForAssembledRows) {
  for (const AssembledTable &table : kAssembledTables) {
    expect_assembly(table);
  }
}

TEST_F(ConfigRows, RequestsForNodeNames) {
  const auto status = [](int32_t v, const std::vector<oid> &index = kNodeName) {
    return integer(fcsNodeNameRowStatus, v, index);
  };
  const std::string name = "fcsNodeNameRowStatus";
  const std::string reserved = pair(name, "enter rev1", "exit rev1");
  const std::string acted = pair(name, "enter action", "exit action");
  const std::string all = reserved + pair(name, "enter rev2", "exit rev2") + acted;
  expect_set("create", false, {status(kCreateAndGo)}, 0, all, {"set 80"});
  expect_set("create what is there", true, {status(kCreateAndGo)}, SNMP_ERR_INCONSISTENTVALUE,
             pair(name, "enter rev1", "inconsis len"));
  expect_set("destroy", true, {status(kDestroy)}, 0, all, {"delete 80"});
  expect_set("destroy what is not there", false, {status(kDestroy)}, 0,
             reserved + pair(name, "enter rev2", "end") + acted, {"delete 80"});
  expect_set("active, present", true, {status(kActive)}, 0, all);
  expect_set("active, absent", false, {status(kActive)}, 0, all);
  std::vector<oid> index = kNodeName;
  index.push_back(1);
  expect_set("an index too long", false, {status(kCreateAndGo, index)}, SNMP_ERR_INCONSISTENTNAME,
             pair(name, "enter rev1", "inconsis name"));
  index.resize(kNodeName.size() - 1);
  expect_set("an index too short", false, {status(kCreateAndGo, index)}, SNMP_ERR_INCONSISTENTNAME,
             pair(name, "enter rev1", "inconsis name"));
  index = kNodeName;
  index[1] = 0x120; // Its low octet counts.
  set({status(kCreateAndGo, index)});
  EXPECT_EQ(sent.at(0).payload, bytes_of(NodeNameEntry{5, {0x20, 1, 2, 3, 4, 5, 6, 255}, 0, 0}));
}

TEST_F(ConfigRows, WhatIsSentDependsOnWhichBindingComesFirst) {
  PlatformEntry expected{.vsan = 3,
                         .platform_index = 7,
                         .name_length = 4,
                         .name = {'h', 'o', 's', 't'},
                         .row_status = kCreateAndGo};
  set({integer(fcsPlatformRowStatus, kCreateAndGo), text(fcsPlatformName, "host")});
  EXPECT_EQ(sent.at(0).payload, bytes_of(expected));
  expected.type = expected.config_source = expected.validation_result = 1;
  set({text(fcsPlatformName, "host"), integer(fcsPlatformRowStatus, kCreateAndGo)});
  EXPECT_EQ(sent.at(0).payload, bytes_of(expected));

  set({text(fcsMgmtAddr, "addr", {4294967295, 1}),
       integer(fcsMgmtAddrRowStatus, kCreateAndGo, {4294967295, 1})});
  EXPECT_EQ(sent.at(0).payload, bytes_of(MgmtAddrEntry{.list_index = -1,
                                                       .address_index = 1,
                                                       .address_length = 4,
                                                       .address = {'a', 'd', 'd', 'r'},
                                                       .row_status = kCreateAndGo}));
  EXPECT_EQ(pending_rows(), 0U);

  serve(true);
  set({integer(fcsPlatformRowStatus, kDestroy)});
  EXPECT_EQ(sent.at(0).payload, bytes_of(PlatformEntry{.vsan = 3, .platform_index = 7}));
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
  for (const auto &[bindings, event] : cases) {
    serve(false, 77);
    EXPECT_THAT(set(bindings, SNMP_ERR_GENERR),
                EndsWith("|" + event + "text of 77|log error 77 'text of 77|"));
    serve(false, -1); // The system's text in the event, but not in the log.
    EXPECT_THAT(set(bindings, SNMP_ERR_GENERR),
                EndsWith("|" + event + strerror(ECONNRESET) + "|log error -1 '?|"));
  }
  EXPECT_EQ(pending_rows(), 2U);
  // A row status is there already: the address alone passes, and sends nothing.
  serve(false);
  set({text(fcsMgmtAddr, "b")});
  EXPECT_THAT(changes(), IsEmpty());
  set({integer(fcsMgmtAddrRowStatus, kCreateAndGo)});
  EXPECT_EQ(sent.at(0).payload.at(offsetof(MgmtAddrEntry, address)), 'b');
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
    const std::string reserved = pair(c.name, "enter rev1", "exit rev1");
    const std::vector<Binding> change = {integer(c.object, c.value)};
    expect_set("live", true, change, 0, reserved + pair(c.name, "enter action", "exit action"),
               {"set 70"});
    PlatformEntry expected = kLivePlatform;
    expected.validation_request = 0;
    expected.*c.field = c.sent;
    EXPECT_EQ(sent.at(0).payload, bytes_of(expected));
    expect_set("absent", false, change, SNMP_ERR_INCONSISTENTVALUE,
               reserved + pair(c.name, "enter action", "inconsistent"));
    serve(true, 77);
    platform.console = true;
    EXPECT_EQ(set(change, SNMP_ERR_GENERR),
              reserved + c.name + ":enter action|100 Setting of " + c.subject +
                  " fails witherror : text of 77|log error 77 'text of 77|");
    EXPECT_THAT(platform.lines,
                Contains(StartsWith(std::string("console 1/recorded/0 'Setting of ") + c.subject +
                                    " fails witherror : %s\n'")));
  }
}

TEST_F(ConfigRows, RolesAreAskedBeforePlatformsAreCreatedOrDestroyed) {
  platform.restricted = true;
  platform.readable = {2, 4};
  for (const int32_t status : {kActive, kCreateAndGo, kDestroy}) {
    std::vector<Binding> bindings = {integer(fcsPlatformRowStatus, status),
                                     text(fcsPlatformName, "p")};
    const Lines lines = lines_of([&] { EXPECT_EQ(write_set(bindings), SNMP_ERR_GENERR); });
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
