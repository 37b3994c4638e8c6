/** Registration and lifecycle, the room of the exchange, the trace pattern. */
#include "managed_objects.h"
#include "recording_platform.h"

#include "feature/fabric_conf_server/snmp/fcs_variables.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_trace.h"

#include <gmock/gmock.h>
#include <limits>

using testing::ElementsAre;

namespace {

const Lines kNotifications = {"notif register 1407", "notif register 1408", "notif register 1409",
                              "notif register 1411", "notif register 1415"};

Lines operator+(Lines left, const Lines &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

TEST(Registration, TableIsWhatManagersAreTold) {
  const std::map<int, std::string> types = {{ASN_INTEGER, "INTEGER"},
                                            {ASN_OCTET_STR, "OCTET STRING"},
                                            {ASN_COUNTER, "Counter32"},
                                            {ASN_UNSIGNED, "Unsigned32"},
                                            {ASN_TIMETICKS, "TimeTicks"}};
  start_module();
  Lines told;
  for (const auto &[suffix, name, syntax] : managed_objects()) {
    if (syntax.ends_with(" RO") || syntax.ends_with(" RW")) {
      told.push_back(joined({suffix, syntax}, " "));
    }
  }
  Lines registered;
  for (const variable &each : platform.registered) {
    registered.push_back(text_of(each.name, each.namelen) + " " +
                         types.at(static_cast<u_char>(each.type)) +
                         (each.acl == NETSNMP_OLDAPI_RWRITE ? " RW" : " RO"));
  }
  EXPECT_EQ(told.size(), 56U);
  EXPECT_EQ(registered, told);
}

TEST(Lifecycle, InitGoesOnAfterEveryFailure) {
  const Lines registration = {"register fcs_mib " + std::to_string(std::size(fcs_mib_variables)) +
                              " x " + std::to_string(sizeof(variable7)) + " at length 9"};
  const std::string unregister = "unregister at length 9";
  const std::string store1 = "store 1 create 0 1 mgmt_addr_cmp 1";
  const std::string store2 = "store 2 create 0 1 platform_cmp 1";
  const struct {
    int32_t failing_stores;
    int register_result;
    Lines expected;
  } cases[] = {
      {0, MIB_REGISTERED_OK, {store1, store2}},
      {1 << 1, MIB_REGISTERED_OK, {store1, unregister, store2}},
      {1 << 2, MIB_REGISTERED_OK, {store1, store2, "store 1 destroy", unregister}},
      {1 << 1 | 1 << 2,
       MIB_REGISTERED_OK,
       {store1, unregister, store2, "store 0 destroy", unregister}},
      {0, MIB_DUPLICATE_REGISTRATION, {store1, store2}},
  };
  for (const auto &c : cases) {
    platform = RecordingPlatform();
    platform.failing_stores = c.failing_stores;
    platform.register_result = c.register_result;
    EXPECT_EQ(lines_of(init_fcs_mib), registration + c.expected + kNotifications);
  }
  platform = RecordingPlatform();
  platform.register_result = MIB_REGISTRATION_FAILED;
  platform.agent_debugging = 1;
  const Lines told = {
      "token trace",
      "debug trace: init_fcs_mib(): ../feature/fabric_conf_server/snmp/fcs_mib, 406:\n",
      "token register_mib",
      "debug register_mib: fcs_mib registration failed\n",
      store1,
      store2};
  EXPECT_EQ(lines_of(init_fcs_mib), registration + told + kNotifications);
}

TEST(Lifecycle, DeinitTakesTheRegistrationsDown) {
  start_module();
  EXPECT_THAT(lines_of(deinit_fcs_mib),
              ElementsAre("1>DEBUG : ENTER deinit_fcs_mib \n", "unregister at length 9",
                          "notif unregister 1407", "notif unregister 1408", "notif unregister 1409",
                          "notif unregister 1411", "notif unregister 1415",
                          "1>DEBUG : EXIT deinit_fcs_mib \n"));
}

TEST(Lifecycle, ReloadClearsTheBitmapsOnly) {
  start_module();
  VsanBitmap *const bitmaps[] = {
      &fcs_vsan_2k,  &fcs_vsan_4k,  &fcs_vsan_total_2k,       &fcs_vsan_total_4k,
      &fcs_notif_2k, &fcs_notif_4k, &fcs_invalidate_cache_2k, &fcs_invalidate_cache_4k};
  for (VsanBitmap *bitmap : bitmaps) {
    bitmap_set_bit(bitmap, 5);
  }
  fcs_spin_lock = 17;
  platform.stores_created = 0;
  lines_of(init_fcs_mib);
  for (const VsanBitmap *bitmap : bitmaps) {
    EXPECT_EQ(text_of(*bitmap), "");
  }
  EXPECT_EQ(fcs_spin_lock, 17);
}

// The sanitizers watch that nothing is read or written outside of the response and the answer.
TEST(Exchange, ResponsesOfEveryLengthFit) {
  start_module();
  FcsAnswer<uint32_t> answer{};
  for (size_t length = 1; length <= IPC_MESSAGE_ROOM; ++length) {
    platform.service = [&](const Request &) { return Reply{0, Bytes(length, 0x11)}; };
    const Lines lines = lines_of([&] { fcs_get_data(110, 1, nullptr, 0, &answer); });
    EXPECT_EQ(lines.back(), platform.exchanges.at(0).after.back());
  }
}

TEST(Exchange, SetReturnsTheResultAndKeepsTheStatus) {
  start_module();
  fcs_req_status = 99;
  platform.service = [](const Request &) { return Reply{0x300, {}}; };
  const uint8_t record[272] = {};
  int32_t result = 0;
  lines_of([&] { result = fcs_set_data(30, 3, record, sizeof(record)); });
  EXPECT_EQ(result, 0x300);
  EXPECT_EQ(fcs_req_status, 99);
}

void trace_one_line(int number) {
  FCS_DETAIL_VALUES("%s:%d\n", number);
}

TEST(Trace, HistoryAndConsoleAreFilteredIndependently) {
  for (const bool filtered : {false, true}) {
    for (const bool debugging : {false, true}) {
      start_module();
      platform.history_filtered = filtered ? 1 : 0;
      platform.console = debugging ? 1 : 0;
      EXPECT_EQ(
          lines_of([] { trace_one_line(7); }),
          (filtered ? Lines{} : Lines{"101 trace_one_line:7\n"}) +
              (debugging ? Lines{"console 1/recorded/0 '%s:%d\n' trace_one_line:7\n"} : Lines{}));
    }
  }
}

TEST(Trace, LinesAreWhatPrintfMakes) {
  start_module();
  for (const int number :
       {std::numeric_limits<int>::min(), -1, 0, std::numeric_limits<int>::max()}) {
    const auto octet = static_cast<unsigned>(number) & 0xFFU;
    char plain[64];
    snprintf(plain, sizeof(plain), "100 f:len = %d val = %d", number, number);
    char mixed[64];
    snprintf(mixed, sizeof(mixed), "100 %s%d %2x%s", "", number, octet, "%d");
    EXPECT_THAT(lines_of([&] {
                  FCS_EVENT("%s:len = %d val = %d", "f", number, number);
                  FCS_EVENT("%s%d %2x%s", "", number, octet, "%d");
                  FCS_EVENT("100%%");
                }),
                ElementsAre(plain, mixed, "100 100%"));
  }
}

TEST(Trace, LongLinesAreCutInTheHistoryOnly) {
  start_module();
  platform.console = 1;
  EXPECT_THAT(lines_of([] { FCS_EVENT("%s", std::string(600, 'a').c_str()); }),
              ElementsAre("100 " + std::string(511, 'a'),
                          "console 1/recorded/0 '%s' " + std::string(600, 'a')));
}

} // namespace
