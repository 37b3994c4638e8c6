/** Values that no write handler takes, and calls that no agent makes: statuses and texts. */
#include "agent_calls.h"

#include <gmock/gmock.h>

using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::Not;

namespace {

class Refusals : public testing::Test {
protected:
  void SetUp() override { start_module(); }

  /** The lines of a value's refusal in the first phase. */
  static Lines refused(FcsObject object, u_char type, const Bytes &value, int status) {
    Binding binding(object, {0}, type, value);
    binding.read();
    return lines_of([&] { EXPECT_EQ(binding.write(kReserve1), status); });
  }
};

TEST_F(Refusals, TypeAndLength) {
  constexpr u_char kInteger = ASN_INTEGER;
  constexpr u_char kText = ASN_OCTET_STR;
  const std::map<u_char, std::string> type_names = {
      {kInteger, "ASN_INTEGER"}, {kText, "ASN_OCTET_STR"}, {ASN_UNSIGNED, "ASN_UNSIGNED"}};
  const struct {
    FcsObject object;
    std::string name;
    u_char type;
    size_t longest;
    std::string wrong_type, bad_length;
    std::string on_stderr = {}; ///< Empty: the object's name.
  } cases[] = {
      {fcsVsanDiscoverySpinLock, "fcsVsanDiscoverySpinLock", kInteger, 4, "return wrng type ",
       "return wrong len"},
      {fcsVsanDiscoveryName, "fcsVsanDiscoveryName", kText, 32, "return wrong type",
       "return wrong len"},
      {fcsVsanDiscoveryList2k, "fcsVsanDiscoveryList2k", kText, 256, "return wrong type",
       "return wrong len", "fcsVsanDiscoveryBitMap1"},
      {fcsVsanDiscoveryList4k, "fcsVsanDiscoveryList4k", kText, 256, "wrong type", "bad length",
       "fcsVsanDiscoveryBitMap2"},
      {fcsVsanDiscoveryTimeOut, "fcsVsanDiscoveryTimeOut", ASN_UNSIGNED, 4, "wrong type",
       "wrong length"},
      {fcsStartDiscovery, "fcsStartDiscovery", kInteger, 4, "wrong type", "bad length"},
      {fcsDiscoveryInvalidateCache2k, "fcsDiscoveryInvalidateCache2k", kText, 256, "wrong type",
       "bad length"},
      {fcsDiscoveryInvalidateCache4k, "fcsDiscoveryInvalidateCache4k", kText, 256, "wrong type",
       "bad length"},
      {fcsReqRejNotifyEnable, "fcsReqRejNotifyEnable", kInteger, 4, "wr type", "bad len"},
      {fcsDiscoveryCompleteNotifyEnable, "fcsDiscoveryCompleteNotifyEnable", kInteger, 4,
       "wrong type", "wrong len"},
      {fcsMgmtAddr, "fcsMgmtAddr", kText, 255, "wrong type", "bad length"},
      {fcsMgmtAddrRowStatus, "fcsMgmtAddrRowStatus", kInteger, 4, "wrong type", "wrong length"},
      {fcsPlatformName, "fcsPlatformName", kText, 255, "wrong type", "wrong length"},
      {fcsPlatformType, "fcsPlatformType", kInteger, 4, "wrong type", "wrong len"},
      {fcsPlatformNodeNameListIndex, "fcsPlatformNodeNameListIndex", kInteger, 4, "wrong type",
       "bad len"},
      {fcsPlatformMgmtAddrListIndex, "fcsPlatformMgmtAddrListIndex", kInteger, 4, "wrong type",
       "wrong length"},
      {fcsPlatformValidation, "fcsPlatformValidation", kInteger, 4, "wrong type", "bad len"},
      {fcsPlatformRowStatus, "fcsPlatformRowStatus", kInteger, 4, "wr type", "wr len"},
      {fcsNodeNameRowStatus, "fcsNodeNameRowStatus", kInteger, 4, "wr type", "wr len"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.name);
    const std::string handler = "101 write_" + c.name + ":";
    const std::string enter =
        handler + (c.object == fcsVsanDiscoverySpinLock ? "entering\n" : "enter rev1\n");
    const std::string wrote = "stderr write to " + (c.on_stderr.empty() ? c.name : c.on_stderr);
    for (const u_char type : std::initializer_list<u_char>{ASN_INTEGER, ASN_OCTET_STR, ASN_UNSIGNED,
                                                           ASN_OBJECT_ID, ASN_NULL}) {
      if (type != c.type) {
        EXPECT_THAT(refused(c.object, type, Bytes(600, 1), SNMP_ERR_WRONGTYPE),
                    ElementsAre(enter, wrote + " not " + type_names.at(c.type) + "\n",
                                handler + c.wrong_type + "\n"));
      }
    }
    Lines bad_length = {enter, wrote + ": bad length\n", handler + c.bad_length + "\n"};
    if (c.object == fcsMgmtAddrRowStatus) {
      std::swap(bad_length[1], bad_length[2]);
    }
    for (const size_t length : {c.longest + 1, size_t{600}}) {
      EXPECT_EQ(refused(c.object, c.type, Bytes(length, 1), SNMP_ERR_WRONGLENGTH), bad_length);
    }
    if (c.object == fcsPlatformName) {
      EXPECT_EQ(refused(c.object, c.type, {}, SNMP_ERR_WRONGLENGTH), bad_length);
    }
  }
}

TEST_F(Refusals, Values) {
  const auto words = [](std::initializer_list<int32_t> values) {
    std::vector<Bytes> all;
    for (const int32_t value : values) {
      all.push_back(bytes_of(value));
    }
    return all;
  };
  std::vector<Bytes> no_requests = words({0, 2, 3, 5, 7, -1, INT32_MIN, INT32_MAX});
  no_requests.emplace_back(); // Of no octets nothing is 1 to 6 either, but the length passes.
  const struct {
    FcsObject object;
    std::vector<Bytes> values;
    int status;
    std::string said;
  } cases[] = {
      {fcsVsanDiscoveryTimeOut, words({299, 1801, -1}), SNMP_ERR_BADVALUE,
       "fcsVsanDiscoveryTimeOut:bad value"},
      {fcsStartDiscovery, words({0, 3}), SNMP_ERR_BADVALUE, "fcsStartDiscovery: bad value"},
      {fcsReqRejNotifyEnable, words({0, INT32_MIN}), SNMP_ERR_BADVALUE,
       "fcsReqRejNotifyEnable:bad val"},
      {fcsDiscoveryCompleteNotifyEnable, words({3}), SNMP_ERR_BADVALUE,
       "fcsDiscoveryCompleteNotifyEnable:bad val"},
      {fcsPlatformName, {{' ', 'x'}, {'x', ' '}}, SNMP_ERR_WRONGVALUE, "fcsPlatformName:wrong val"},
      {fcsPlatformType, words({0, 13, -1, INT32_MIN}), SNMP_ERR_BADVALUE,
       "fcsPlatformType:bad val"},
      {fcsPlatformValidation, words({0, 3, -1}), SNMP_ERR_BADVALUE,
       "fcsPlatformValidation:bad val"},
      {fcsMgmtAddrRowStatus, no_requests, SNMP_ERR_INCONSISTENTVALUE,
       "fcsMgmtAddrRowStatus:inconsis val"},
      {fcsPlatformRowStatus, no_requests, SNMP_ERR_INCONSISTENTVALUE,
       "fcsPlatformRowStatus:inconsistent"},
      {fcsNodeNameRowStatus, no_requests, SNMP_ERR_INCONSISTENTVALUE,
       "fcsNodeNameRowStatus:inconsis"},
  };
  for (const auto &c : cases) {
    const std::string handler = "101 write_" + c.said.substr(0, c.said.find(':'));
    const auto type = static_cast<u_char>(platform.registered_for(c.object).type);
    for (const Bytes &value : c.values) {
      EXPECT_THAT(refused(c.object, type, value, c.status),
                  ElementsAre(handler + ":enter rev1\n", "101 write_" + c.said + "\n"));
    }
  }
  EXPECT_EQ(fcs_discovery_timeout, 900);
  EXPECT_EQ(pending_rows(), 0U);
}

/** The writable objects, each by itself. */
std::vector<variable> writable_objects() {
  std::vector<variable> objects = platform.registered;
  std::erase_if(objects, [](const variable &each) { return each.acl != NETSNMP_OLDAPI_RWRITE; });
  return objects;
}

/** A binding of an object with a value of its own type. */
Binding binding_of(const variable &object, const Bytes &value) {
  return {object, Name(object, {0}), static_cast<u_char>(object.type), value};
}

// The sanitizers watch that nothing is read or written out of bounds.
TEST_F(Refusals, PhasesWithoutThoseInFrontOfThemDoNothing) {
  for (const Bytes &value : {Bytes(600, 0xFF), bytes_of(RS_CREATEANDGO)}) {
    for (const variable &object : writable_objects()) {
      for (const int phase : {kFree, kAction, kReserve2, kCommit, kUndo}) {
        Binding binding = binding_of(object, value);
        binding.read();
        EXPECT_THAT(lines_of([&] { binding.write(phase); }),
                    Each(Not(ContainsRegex("^ipc 14(02/[34]|05|10|12)"))))
            << "object " << int{object.magic} << ", phase " << phase;
      }
    }
  }
  EXPECT_EQ(pending_rows(), 0U);
  EXPECT_EQ(write_object(fcsVsanDiscoveryName, Bytes(33, 'n'), {kReserve2}), SNMP_ERR_WRONGLENGTH);
  for (const FcsObject object : {fcsVsanDiscoveryTimeOut, fcsStartDiscovery}) {
    const Bytes value = bytes_of(object == fcsStartDiscovery ? 2 : 900);
    for (const int end : {kCommit, kFree, kUndo}) {
      write_object(object, value, {kReserve1, kReserve2, end});
      EXPECT_EQ(write_object(object, value, {kAction}), SNMP_ERR_GENERR);
    }
  }
}

TEST_F(Refusals, ALengthOfAtMost4IsNoneOfAnInteger) {
  std::vector<Bytes> requests;
  platform.service = [&](const Request &request) {
    requests.push_back(request.payload);
    return Reply{0,
                 request.operation == FCS_OP_GET ? std::optional(request.payload) : std::nullopt};
  };
  for (const variable &object : writable_objects()) {
    if (object.type == ASN_OCTET_STR) {
      continue;
    }
    for (const int32_t value : {1, 2, 6, 300, 65836}) { // 65836 ends as 300 does.
      const auto outcome_with = [&](size_t length) {
        fcs_spin_lock = value;
        requests.clear();
        std::vector<Binding> set = {binding_of(object, bytes_of(value))};
        set[0].tell_length(length);
        return std::tuple(lines_of([&] { write_set(set); }), requests);
      };
      for (size_t length = 0; length < 4; ++length) {
        EXPECT_EQ(outcome_with(length), outcome_with(4))
            << "object " << int{object.magic} << ", length " << length << " of " << value;
      }
    }
  }
  fcs_spin_lock = 0;
  fcs_discovery_timeout = 900;
  fcs_start_discovery = 2;
}

} // namespace
