/** The scalar objects, read side. */
#include "agent_calls.h"

#include "feature/fabric_conf_server/snmp/frame/fcs_values.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class Scalars : public testing::Test {
protected:
  void SetUp() override { start_module(); }

  /** Reads instance 0 and checks the module's trace lines: of the handler, or an event in full. */
  static Answer read(FcsObject object, const Lines &traces) {
    Answer answer;
    const Lines seen = traces_of([&] { answer = read_object(object, {0}, true); });
    Lines expected = {detail("entering")};
    for (const std::string &trace : traces) {
      expected.push_back(trace.starts_with("100 ") ? trace : detail(trace));
    }
    EXPECT_EQ(seen, expected);
    const bool writable = platform.registered_for(object).acl == NETSNMP_OLDAPI_RWRITE;
    EXPECT_EQ(answer.write_method != nullptr, writable);
    return answer;
  }

  static std::string detail(const std::string &text) {
    return "101 var_zephrinFcsMIB:" + text + "\n";
  }
};

TEST_F(Scalars, InitialValues) {
  const struct {
    FcsObject object;
    const char *trace;
    Bytes value;
  } cases[] = {{fcsVsanDiscoverySpinLock, "return DiscSpinLock", bytes_of(0)},
               {fcsVsanDiscoveryName, "return DiscName", {}},
               {fcsVsanDiscoveryList2k, "100 get_allowed_vsans ... ret success\n", {}},
               {fcsVsanDiscoveryList4k, "return DiscList4k Success", {}},
               {fcsStartDiscovery, "return Disc", bytes_of(2)},
               {fcsVsanDiscoveryTimeOut, "return DiscTimeout", bytes_of(900)},
               {fcsDiscoveryInvalidateCache2k, "return DiscInvalDate2k succ", {}},
               {fcsDiscoveryInvalidateCache4k, "return DiscInvalDate4k succ", {}},
               {fcsRejReasonCode, "return reasoncode", bytes_of(1)},
               {fcsRejReasonCodeExpl, "return reasoncode exp", bytes_of(1)}};
  for (const auto &c : cases) {
    EXPECT_EQ(read(c.object, {c.trace}).value, c.value) << c.trace;
  }
}

TEST_F(Scalars, StateIsReadBack) {
  fcs_spin_lock = INT32_MAX;
  fcs_start_discovery = 1;
  strcpy(fcs_discovery_name, "nightly");
  EXPECT_EQ(read_object(fcsVsanDiscoverySpinLock, {0}, true).word(), INT32_MAX);
  EXPECT_EQ(read_object(fcsStartDiscovery, {0}, true).word(), 2);
  EXPECT_EQ(read_object(fcsVsanDiscoveryName, {0}, true).value,
            (Bytes{'n', 'i', 'g', 'h', 't', 'l', 'y'}));
  fcs_spin_lock = 0;
  fcs_start_discovery = 2;
  fcs_discovery_name[0] = '\0';
}

TEST_F(Scalars, CountsComeFromTheService) {
  const struct {
    FcsObject object;
    uint32_t record_id;
    const char *label;
  } counts[] = {{fcsIeNumber, 110, "ie number"},
                {fcsPortNumber, 120, "port number"},
                {fcsPlatformNumber, 130, "platform number"}};
  for (const auto &c : counts) {
    platform.service = [&](const Request &request) {
      EXPECT_EQ(request.record_id, c.record_id);
      EXPECT_EQ(request.operation, 1U);
      EXPECT_TRUE(request.payload.empty());
      return Reply{0, bytes_of(uint32_t{c.record_id * 1000})};
    };
    EXPECT_EQ(read(c.object, {std::string("return ") + c.label}).word(), c.record_id * 1000);
    platform.service = [](const Request &) { return Reply{5, {}}; };
    EXPECT_FALSE(read(c.object, {std::string("return NULL ") + c.label}).value);
  }
}

TEST_F(Scalars, TotalRejectsRepeatsTheLastIntegerAfterAFailure) {
  platform.service = [](const Request &) { return Reply{0, bytes_of(uint32_t{0xFFFFFFF0})}; };
  EXPECT_EQ(read(fcsTotalRejects, {"return Total rejects"}).word(), -16);
  platform.service = [](const Request &) { return Reply{-1, {}}; };
  EXPECT_EQ(read_object(fcsTotalRejects, {0}, true).word(), -16);
  read_object(fcsVsanDiscoveryTimeOut, {0}, true);
  EXPECT_EQ(read(fcsTotalRejects, {"return Total rejects"}).word(), 900);
}

TEST_F(Scalars, OnlyAnEnableStateOfOneIsTrue) {
  for (const auto &[state, hex, truth] :
       {std::tuple(0, "0x0", 2), {1, "0x1", 1}, {3, "0x3", 2}, {-1, "0xffffffff", 2}}) {
    platform.notif_enabled = [value = state] { return value; };
    const std::string enabled = hex;
    EXPECT_EQ(read(fcsReqRejNotifyEnable,
                   {"ret_code Rejnotif enable: " + enabled, "return Rejnotif number"})
                  .word(),
              truth);
    EXPECT_EQ(read(fcsDiscoveryCompleteNotifyEnable,
                   {"ret_code ComplteNotify enable: " + enabled, "return Comnoti number"})
                  .word(),
              truth);
  }
  EXPECT_THAT(lines_of([] { read_object(fcsReqRejNotifyEnable, {0}, true); }),
              testing::Contains("notif enable get 1407"));
  EXPECT_THAT(lines_of([] { read_object(fcsDiscoveryCompleteNotifyEnable, {0}, true); }),
              testing::Contains("notif enable get 1408"));
}

TEST_F(Scalars, DiscoveryListsUniteAndFilter) {
  bitmap_set_bit(&fcs_vsan_2k, 0);          // VSAN 1
  bitmap_set_bit(&fcs_vsan_total_2k, 15);   // VSAN 16
  bitmap_set_bit(&fcs_vsan_4k, 0);          // VSAN 2049
  bitmap_set_bit(&fcs_vsan_total_4k, 2046); // VSAN 4095
  bitmap_set_bit(&fcs_vsan_4k, 2047);       // VSAN 4096, which no role set can hold
  EXPECT_THAT(lines_of([] { read_object(fcsVsanDiscoveryList2k, {0}, true); }),
              testing::Contains("role list 160 .1.3.6.1.4.1.32473.1.1.1.1.3.0 bytes 512: 1 16"));
  EXPECT_THAT(
      lines_of([] { read_object(fcsVsanDiscoveryList4k, {0}, true); }),
      testing::Contains("role list 160 .1.3.6.1.4.1.32473.1.1.1.1.4.0 bytes 512: 2049 4095"));
  EXPECT_EQ(read_object(fcsVsanDiscoveryList2k, {0}, true).value, (Bytes{0x80, 0x01}));
  const Answer list4k = read_object(fcsVsanDiscoveryList4k, {0}, true);
  Bytes expected(257, 0); // One octet more than the half holds.
  expected[0] = 0x80;
  expected[255] = 0x02;
  EXPECT_EQ(list4k.value, expected);

  platform.restricted = true;
  platform.readable = {1, 4095};
  EXPECT_EQ(read_object(fcsVsanDiscoveryList2k, {0}, true).value, (Bytes{0x80, 0}));
  expected[0] = 0;
  EXPECT_EQ(read_object(fcsVsanDiscoveryList4k, {0}, true).value, expected);
  platform.readable = {};
  EXPECT_EQ(read_object(fcsVsanDiscoveryList2k, {0}, true).value, Bytes{});
  platform.restricted = false; // The lists themselves are what they were.
  EXPECT_EQ(read_object(fcsVsanDiscoveryList2k, {0}, true).value, (Bytes{0x80, 0x01}));
}

TEST_F(Scalars, ReadsNarrowTheInvalidationLists) {
  for (const auto &[object, bitmap, first] :
       {std::tuple(fcsDiscoveryInvalidateCache2k, &fcs_invalidate_cache_2k, 1U),
        {fcsDiscoveryInvalidateCache4k, &fcs_invalidate_cache_4k, 2049U}}) {
    memcpy(bitmap->bytes, "\x81\x01", 2);
    EXPECT_EQ(read_object(object, {0}, true).value, (Bytes{0x81, 0x01}));
    platform.restricted = true;
    platform.readable = {first + 7};
    EXPECT_EQ(read_object(object, {0}, true).value, Bytes{0x01});
    platform.restricted = false;
    EXPECT_EQ(read_object(object, {0}, true).value, Bytes{0x01}) << "the other VSANs are gone";
  }
}

TEST_F(Scalars, FailedRoleFilterReadsAsFourZeroOctets) {
  platform.role_fails = true;
  bitmap_set_bit(&fcs_vsan_2k, 3);
  bitmap_set_bit(&fcs_invalidate_cache_2k, 3);
  const std::pair<FcsObject, const char *> cases[] = {
      {fcsVsanDiscoveryList2k, "100 get_allowed_vsans.. ret error\n"},
      {fcsVsanDiscoveryList4k, "return DiscList4k error"},
      {fcsDiscoveryInvalidateCache2k, "return DiscInvalDate2k error"},
      {fcsDiscoveryInvalidateCache4k, "return DiscInvalDate4k error"}};
  for (const auto &[object, trace] : cases) {
    EXPECT_EQ(read(object, {trace}).value, Bytes(4, 0));
  }
  EXPECT_EQ(bitmap_first_bit(&fcs_invalidate_cache_2k), 3) << "a failed read narrows nothing";
}

TEST_F(Scalars, OtherInstancesAndMagics) {
  for (const std::vector<oid> &index : {std::vector<oid>{}, {1}, {0, 0}}) {
    EXPECT_THAT(lines_of([&] { EXPECT_FALSE(read_object(fcsStartDiscovery, index, true).value); }),
                ElementsAre(detail("entering"), detail("return NULL")));
  }
  EXPECT_EQ(read_object(fcsStartDiscovery, {}, false).index, (std::vector<oid>{0}));
  EXPECT_FALSE(read_object(fcsStartDiscovery, {0}, false).value);

  variable unknown = platform.registered_for(fcsStartDiscovery);
  unknown.magic = 6;
  Name name(unknown, {0});
  EXPECT_THAT(lines_of([&] { EXPECT_FALSE(read_name(unknown, name, true).value); }),
              ElementsAre(detail("entering"), "detail ''"));
}

} // namespace
