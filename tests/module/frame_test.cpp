/** Registration and lifecycle, the exchange, the trace pattern. */
#include "recording_platform.h"

#include "feature/fabric_conf_server/snmp/fcs_variables.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_trace.h"

#include <fstream>
#include <gmock/gmock.h>
#include <limits>
#include <map>
#include <sstream>

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

const Lines kRegister = {"register fcs_mib " + std::to_string(std::size(fcs_mib_variables)) +
                         " x " + std::to_string(sizeof(variable7)) + " at length 9"};
const std::string kUnregister = "unregister at length 9";
const std::string kStore1 = "store 1 create 0 1 mgmt_addr_cmp 1";
const std::string kStore2 = "store 2 create 0 1 platform_cmp 1";
const Lines kNotifications = {"notif register 1407", "notif register 1408", "notif register 1409",
                              "notif register 1411", "notif register 1415"};

Lines operator+(Lines left, const Lines &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/** "suffix type access" of an object, as the list of objects for managers writes it. */
std::string described(const variable &entry) {
  static const std::map<int, std::string> kTypes = {{ASN_INTEGER, "INTEGER"},
                                                    {ASN_OCTET_STR, "OCTET STRING"},
                                                    {ASN_COUNTER, "Counter32"},
                                                    {ASN_UNSIGNED, "Unsigned32"},
                                                    {ASN_TIMETICKS, "TimeTicks"}};
  std::string suffix;
  for (size_t i = 9; i < entry.namelen; ++i) {
    suffix += (suffix.empty() ? "" : ".") + std::to_string(entry.name[i]);
  }
  return suffix + " " + kTypes.at(static_cast<u_char>(entry.type)) +
         (entry.acl == NETSNMP_OLDAPI_RWRITE ? " RW" : " RO");
}

TEST(Registration, TableIsWhatManagersAreTold) {
  start_module();
  Lines told;
  std::ifstream list(FCS_OBJECT_LIST);
  for (std::string line; std::getline(list, line);) {
    std::istringstream words(line);
    std::string suffix, name, type;
    words >> suffix >> name;
    for (std::string word; words >> word;) {
      type += " " + word;
    }
    if (type.ends_with(" RO") || type.ends_with(" RW")) {
      told.push_back(suffix + type);
    }
  }
  Lines registered;
  for (const variable &entry : platform.registered) {
    registered.push_back(described(entry));
  }
  EXPECT_EQ(told.size(), 56U);
  EXPECT_THAT(registered, ElementsAreArray(told));
}

TEST(Lifecycle, InitGoesOnAfterEveryFailure) {
  const struct {
    std::set<int> failing_stores;
    int register_result;
    Lines expected;
  } cases[] = {
      {{}, MIB_REGISTERED_OK, kRegister + Lines{kStore1, kStore2} + kNotifications},
      {{1}, MIB_REGISTERED_OK, kRegister + Lines{kStore1, kUnregister, kStore2} + kNotifications},
      {{2},
       MIB_REGISTERED_OK,
       kRegister + Lines{kStore1, kStore2, "store 1 destroy", kUnregister} + kNotifications},
      {{1, 2},
       MIB_REGISTERED_OK,
       kRegister + Lines{kStore1, kUnregister, kStore2, "store 0 destroy", kUnregister} +
           kNotifications},
      {{}, MIB_DUPLICATE_REGISTRATION, kRegister + Lines{kStore1, kStore2} + kNotifications},
  };
  for (const auto &c : cases) {
    platform = RecordingPlatform();
    platform.failing_stores = c.failing_stores;
    platform.register_result = c.register_result;
    EXPECT_THAT(lines_of(init_fcs_mib), ElementsAreArray(c.expected));
  }
}

TEST(Lifecycle, FailedRegistrationShowsInTheAgentsDebugOutput) {
  platform = RecordingPlatform();
  platform.register_result = MIB_REGISTRATION_FAILED;
  platform.agent_debugging = true;
  const Lines lines = lines_of(init_fcs_mib);
  EXPECT_THAT(
      Lines(lines.begin() + 1, lines.begin() + 5),
      ElementsAre("token trace",
                  "debug trace: init_fcs_mib(): ../feature/fabric_conf_server/snmp/fcs_mib, 406:\n",
                  "token register_mib", "debug register_mib: fcs_mib registration failed\n"));
}

TEST(Lifecycle, DeinitTakesTheRegistrationsDown) {
  start_module();
  EXPECT_THAT(lines_of(deinit_fcs_mib),
              ElementsAre("stdout DEBUG : ENTER deinit_fcs_mib \n", kUnregister,
                          "notif unregister 1407", "notif unregister 1408", "notif unregister 1409",
                          "notif unregister 1411", "notif unregister 1415",
                          "stdout DEBUG : EXIT deinit_fcs_mib \n"));
}

TEST(Lifecycle, ReloadClearsTheBitmapsOnly) {
  start_module();
  bitmap_set_bit(&fcs_invalidate_cache_4k, 5);
  fcs_spin_lock = 17;
  start_module();
  EXPECT_EQ(bitmap_first_bit(&fcs_invalidate_cache_4k), -1);
  EXPECT_EQ(fcs_spin_lock, 17);
  fcs_spin_lock = 0;
}

TEST(PendingRows, SortByFirstThenSecondSignedWord) {
  const int32_t ascending[][2] = {{INT32_MIN, 5}, {-1, 9}, {0, -7}, {0, 0}, {0, 3}, {7, INT32_MIN}};
  for (const auto &a : ascending) {
    for (const auto &b : ascending) {
      const int expected = &a == &b ? 0 : (&a < &b ? 1 : -1);
      EXPECT_EQ(mgmt_addr_cmp(a, b), expected);
      EXPECT_EQ(platform_cmp(a, b), expected);
    }
  }
}

TEST(Exchange, GetLeavesItsTracesInOrder) {
  start_module();
  const Lines answered = {"101 fcs_get_data:len = 4 val = -3 \n", "stdout len = 4 val = -3\n"};
  const Lines empty = {"101 fcs_get_data:len = 0 val = 0 \n", "stdout len = 0 val = 0\n"};
  const struct {
    int32_t result;
    bool answers;
    int status; ///< The low octet: a multiple of 256 counts as success.
    Lines lines;
    int32_t record; ///< What is answered, or was there before.
  } cases[] = {{0, true, 0, answered, -3},   {0x100, true, 0, answered, -3},
               {0x300, false, 0, empty, 42}, {1, false, 1, {}, 42},
               {-1, false, 255, {}, 42},     {0x102, false, 2, {}, 42},
               {0x1FF, false, 255, {}, 42}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.result);
    platform.service = [&](const Request &request) {
      EXPECT_EQ(request.word(0), 5U);
      return c.answers ? Reply{c.result, bytes_of(int32_t{-3})} : Reply{c.result, {}};
    };
    const uint32_t key = 5;
    FcsAnswer<int32_t> answer{42, {}};
    EXPECT_EQ(lines_of([&] { fcs_get_data(90, 2, &key, sizeof(key), &answer); }),
              (Lines{"101 fcs_get_data:before sending cmi\n", "stderr Before CMI\n",
                     "ipc 1402/2 record 90 length 8 from user/7 to 20/77/0",
                     "101 fcs_get_data:err " + std::to_string(c.status) + "\n"} +
               c.lines));
    EXPECT_EQ(fcs_req_status, c.status);
    EXPECT_EQ(answer.record, c.record);
  }
  start_module();
  EXPECT_THAT(lines_of([] { fcs_get_data(110, 1, nullptr, 0, nullptr); }),
              testing::Contains("ipc 1402/1 record 110 length 4 from user/7 to 20/77/0"));
}

// The sanitizers watch that nothing is read or written outside of the response and the answer.
TEST(Exchange, ResponsesOfEveryLengthFit) {
  start_module();
  FcsAnswer<uint32_t> answer{};
  for (size_t length = 1; length <= IPC_MESSAGE_ROOM; ++length) {
    platform.service = [&](const Request &) { return Reply{0, Bytes(length, 0x11)}; };
    const Lines lines = lines_of([&] { fcs_get_data(110, 1, nullptr, 0, &answer); });
    const int32_t word = length == 1 ? 0x11 : length == 2 ? 0x1111 : 0x111111;
    if (length < 4 && std::endian::native == std::endian::little) {
      EXPECT_EQ(lines.back(),
                "stdout len = " + std::to_string(length) + " val = " + std::to_string(word) + "\n");
    }
  }
}

TEST(Exchange, SetReturnsTheResultAndKeepsTheStatus) {
  start_module();
  fcs_req_status = 99;
  platform.service = [](const Request &) { return Reply{0x300, {}}; };
  const uint8_t record[272] = {};
  int32_t result = 0;
  EXPECT_THAT(lines_of([&] { result = fcs_set_data(30, 3, record, sizeof(record)); }),
              ElementsAre("101 fcs_set_data:before cmi set\n", "stderr Before CMI\n",
                          "ipc 1402/3 record 30 length 276 from user/7 to 20/77/0"));
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
      platform.history_filtered = filtered;
      platform.console = debugging;
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
  platform.console = true;
  const Lines lines = lines_of([] { FCS_EVENT("%s", std::string(600, 'a').c_str()); });
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], "100 " + std::string(511, 'a'));
  EXPECT_EQ(lines[1], "console 1/recorded/0 '%s' " + std::string(600, 'a'));
}

} // namespace
