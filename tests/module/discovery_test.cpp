/** The write side of the discovery scalars: phases, requests, traces. */
#include "agent_calls.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Bytes integer(int32_t value) {
  return bytes_of(value);
}

const std::vector<int> kToAction = {kReserve1, kReserve2, kAction};
const std::vector<int> kToCommit = {kReserve1, kReserve2, kAction, kCommit};
const std::vector<int> kAllPhases = {kReserve1, kReserve2, kAction, kCommit, kFree, kUndo};

/** The lines of a SET through some phases. */
Lines set_lines(FcsObject object, const Bytes &value, const std::vector<int> &phases,
                int expected_status = SNMP_ERR_NOERROR) {
  return lines_of([&] { EXPECT_EQ(write_object(object, value, phases), expected_status); });
}

/** Sets some bits in each of these. */
void set_bits(std::initializer_list<VsanBitmap *> bitmaps, std::initializer_list<int32_t> bits) {
  for (VsanBitmap *bitmap : bitmaps) {
    for (const int32_t bit : bits) {
      bitmap_set_bit(bitmap, bit);
    }
  }
}

/** Sets the service up to have these discovery statuses; other VSANs fail. */
void serve_statuses(const std::map<uint32_t, int32_t> &statuses) {
  platform.service = [statuses](const Request &request) {
    if (request.record_id != FCS_REC_DISCOVERY_STATUS) {
      return Reply{0, {}};
    }
    const uint32_t vsan = request.word(0);
    if (statuses.count(vsan) == 0) {
      return Reply{FCS_ERR_NO_SUCH_ROW, {}};
    }
    return Reply{0, bytes_of(fcs_disc_status_record{vsan, statuses.at(vsan), 0, 0})};
  };
}

/** The direct messages among some lines, without what is the same in all of them; the lines that
 * are no exchange go to `others`. */
Lines messages(const Lines &lines, Lines *others = nullptr) {
  Lines result;
  for (const std::string &line : lines) {
    if (line.starts_with("ipc 14") && line.find("record") == std::string::npos) {
      EXPECT_THAT(line, testing::EndsWith(" from user/7 to 20/77/0"));
      result.push_back(line.substr(4, line.find(" from") - 4));
    } else if (others != nullptr && !line.starts_with("ipc")) {
      others->push_back(line);
    }
  }
  return result;
}

class Discovery : public testing::Test {
protected:
  void SetUp() override {
    start_module();
    fcs_spin_lock = 0;
    fcs_discovery_timeout = 900;
    fcs_start_discovery = 2;
    memset(fcs_discovery_name, 0, sizeof(fcs_discovery_name));
  }
};

TEST_F(Discovery, SpinLockTakesItsCurrentValueOnly) {
  const std::string handler = "101 write_fcsVsanDiscoverySpinLock:";
  EXPECT_THAT(set_lines(fcsVsanDiscoverySpinLock, integer(0), {kReserve1, kReserve2}),
              ElementsAre(handler + "entering\n", handler + "entering\n",
                          "stderr In set of spin lock....\n", handler + "entring rev2\n",
                          handler + "exit rev2 \n"));
  EXPECT_EQ(fcs_spin_lock, 1);
  EXPECT_THAT(
      set_lines(fcsVsanDiscoverySpinLock, integer(0), {kReserve2}, SNMP_ERR_INCONSISTENTVALUE),
      ElementsAre(handler + "entering\n", "stderr In set of spin lock....\n",
                  handler + "entring rev2\n", "stderr Returning inconsistent val error\n",
                  handler + "return inconsis\n"));
  EXPECT_EQ(fcs_spin_lock, 1);
  fcs_spin_lock = INT32_MAX;
  EXPECT_EQ(write_object(fcsVsanDiscoverySpinLock, integer(INT32_MAX)), 0);
  EXPECT_EQ(fcs_spin_lock, 0);
  // What kReserve2 has moved stays moved when another variable of the SET fails.
  write_object(fcsVsanDiscoverySpinLock, integer(0), {kReserve1, kReserve2, kFree});
  EXPECT_EQ(fcs_spin_lock, 1);
}

TEST_F(Discovery, NameIsStagedAndThenTaken) {
  const std::string handler = "101 write_fcsVsanDiscoveryName:";
  const Bytes name(32, 'n');
  EXPECT_THAT(set_lines(fcsVsanDiscoveryName, name, {kReserve1, kReserve2}),
              ElementsAre(handler + "enter rev1\n", handler + "exit rev1\n",
                          "stderr In set of discovery name...\n", handler + "enter rev2\n",
                          "stderr Len of discovery name 32\n",
                          handler + "Len of discovery name 32\n", handler + "exit rev2\n"));
  EXPECT_STREQ(fcs_discovery_name, "");
  const std::pair<Bytes, std::string> cases[] = {
      {name, std::string(32, 'n')}, {{'a', 0, 'b', 'c'}, "a"}, {{}, ""}};
  for (const auto &[value, taken] : cases) {
    EXPECT_EQ(write_object(fcsVsanDiscoveryName, value), 0);
    EXPECT_EQ(fcs_discovery_name, taken);
  }
}

TEST_F(Discovery, ListsReachTheirVsansAndRoles) {
  Bytes ends(256, 0);
  ends.front() = 0x80;
  ends.back() = 0x01;
  EXPECT_THAT(set_lines(fcsVsanDiscoveryList2k, ends, kToAction),
              ElementsAre("101 write_fcsVsanDiscoveryList2k:enter rev1\n",
                          "role bitmap 163 .1.3.6.1.4.1.32473.1.1.1.1.3.0 bytes 512: 1 2048",
                          "101 write_fcsVsanDiscoveryList2k:exit rev1\n",
                          "100 Clearing vsan 2k bmap\n", "100 Calling reset 2k bmap\n",
                          "101 fcs_reset_disc_bitmap2k:enter\n",
                          "101 fcs_reset_disc_bitmap2k:exit\n"));
  EXPECT_THAT(bits_of(fcs_vsan_2k), ElementsAre(0, 2047));
  // VSAN 4096 has no bit in the role service's numbering.
  EXPECT_THAT(set_lines(fcsVsanDiscoveryList4k, ends, kToAction),
              ElementsAre("101 write_fcsVsanDiscoveryList4k:enter rev1\n",
                          "role bitmap 163 .1.3.6.1.4.1.32473.1.1.1.1.4.0 bytes 512: 2049",
                          "101 write_fcsVsanDiscoveryList4k:exit rev1\n",
                          "101 fcs_reset_disc_bitmap4k:enter\n",
                          "101 fcs_reset_disc_bitmap4k:exit\n"));
  EXPECT_THAT(bits_of(fcs_vsan_4k), ElementsAre(0, 2047));
  for (const size_t length : {size_t{0}, size_t{1}, size_t{10}, size_t{255}}) {
    EXPECT_EQ(write_object(fcsVsanDiscoveryList2k, Bytes(length, 0xFF)), 0);
    EXPECT_EQ(bits_of(fcs_vsan_2k).size(), length * 8);
  }
}

TEST_F(Discovery, RefusedListsChangeNothing) {
  const struct {
    FcsObject object;
    VsanBitmap *list;
    std::string handler, trace;
  } cases[] = {
      {fcsVsanDiscoveryList2k, &fcs_vsan_2k,
       "101 write_fcsVsanDiscoveryList2k:", "return non writable"},
      {fcsVsanDiscoveryList4k, &fcs_vsan_4k, "101 write_fcsVsanDiscoveryList4k:", "non writable"},
      {fcsDiscoveryInvalidateCache2k, &fcs_invalidate_cache_2k,
       "101 write_fcsDiscoveryInvalidateCache2k:", "non writable"},
      {fcsDiscoveryInvalidateCache4k, &fcs_invalidate_cache_4k,
       "101 write_fcsDiscoveryInvalidateCache4k:", "not writable"}};
  platform.role_refuses_writes = true;
  for (const auto &c : cases) {
    bitmap_set_bit(c.list, 99);
    EXPECT_THAT(set_lines(c.object, {0xFF}, kToAction, SNMP_ERR_NOTWRITABLE),
                ElementsAre(c.handler + "enter rev1\n", testing::StartsWith("role bitmap "),
                            "log set error 4049002c 584", c.handler + c.trace + "\n"));
    EXPECT_THAT(bits_of(*c.list), ElementsAre(99));
  }
}

TEST_F(Discovery, WritingAListDropsLocalOnlyVsansUntilTheServiceFails) {
  set_bits({&fcs_vsan_total_2k, &fcs_vsan_total_4k}, {0, 1, 2, 3});
  serve_statuses({{1, 3}, {2, 2}, {4, 3}, {2049, 3}, {2050, 1}, {2051, 3}, {2052, 3}});
  const Lines lines = set_lines(fcsVsanDiscoveryList2k, {}, {kAction});
  EXPECT_THAT(bits_of(fcs_vsan_total_2k), ElementsAre(1, 2, 3))
      << "VSAN 3 failed, 4 is not reached";
  EXPECT_THAT(lines, testing::Not(testing::Contains("101 fcs_reset_disc_bitmap2k:exit\n")));
  EXPECT_EQ(write_object(fcsVsanDiscoveryList4k, {}), 0);
  EXPECT_THAT(bits_of(fcs_vsan_total_4k), ElementsAre(1));
}

TEST_F(Discovery, TimeOutIsKeptAndSent) {
  for (const int32_t seconds : {300, 1800}) {
    EXPECT_THAT(
        messages(set_lines(fcsVsanDiscoveryTimeOut, integer(seconds), kToCommit, SNMP_ERR_GENERR)),
        ElementsAre("1410/3 " + std::to_string(seconds)));
    EXPECT_EQ(fcs_discovery_timeout, seconds) << "also when the service refuses it";
  }
  platform.service = [](const Request &) { return Reply{0, {}}; };
  EXPECT_EQ(write_object(fcsVsanDiscoveryTimeOut, integer(600)), 0);
  EXPECT_EQ(read_object(fcsVsanDiscoveryTimeOut, {0}, true).word(), 600);
}

TEST_F(Discovery, StartSendsOneRequestForEachNewVsan) {
  set_bits({&fcs_vsan_2k, &fcs_vsan_4k}, {0, 4, 2047});
  bitmap_set_bit(&fcs_vsan_total_2k, 4);
  platform.service = [](const Request &request) {
    const uint32_t vsan = request.word(0);
    return Reply{vsan == 2048 || vsan == 2053 ? 6 : 0, {}};
  };
  Lines others;
  EXPECT_THAT(messages(set_lines(fcsStartDiscovery, integer(1), kToCommit), &others),
              ElementsAre("1405/0 1 0", "1405/0 2048 0", "1405/0 2049 0", "1405/0 2053 0",
                          "1405/0 4096 0"));
  const std::string done = "stderr Returning no error.....\n";
  EXPECT_THAT(others, ElementsAre("101 write_fcsStartDiscovery:enter rev1\n",
                                  "101 write_fcsStartDiscovery:exit rev1\n", done, done, done,
                                  "100 Discovery on VSAN 2048 fails with err 6\n",
                                  "100 Discovery on VSAN 2053 fails\n",
                                  "100 Discovery started successfully\n", done));
  EXPECT_THAT(bits_of(fcs_vsan_total_2k), ElementsAre(0, 4, 2047));
  EXPECT_THAT(bits_of(fcs_vsan_total_4k), ElementsAre(0, 4, 2047));
  EXPECT_THAT(bits_of(fcs_vsan_2k), IsEmpty());
  EXPECT_THAT(bits_of(fcs_vsan_4k), IsEmpty());
  EXPECT_THAT(set_lines(fcsStartDiscovery, integer(1), {kCommit}),
              ElementsAre("100 Discovery started successfully\n", done));
}

TEST_F(Discovery, StartOfNothingTouchesNothing) {
  bitmap_set_bit(&fcs_vsan_2k, 7);
  const std::string done = "stderr Returning no error.....\n";
  EXPECT_THAT(set_lines(fcsStartDiscovery, integer(2), kAllPhases),
              ElementsAre("101 write_fcsStartDiscovery:enter rev1\n",
                          "101 write_fcsStartDiscovery:exit rev1\n", done, done, done, done, done));
  EXPECT_THAT(bits_of(fcs_vsan_2k), ElementsAre(7));
}

TEST_F(Discovery, InvalidationAsksFirstAndSkipsWhatFails) {
  const struct {
    FcsObject object;
    uint32_t first;
    VsanBitmap *list;
  } halves[] = {{fcsDiscoveryInvalidateCache2k, 1, &fcs_invalidate_cache_2k},
                {fcsDiscoveryInvalidateCache4k, 2049, &fcs_invalidate_cache_4k}};
  for (const auto &half : halves) {
    const uint32_t v = half.first;
    serve_statuses({{v, 2}, {v + 1, 1}, {v + 3, 3}});
    Lines others;
    EXPECT_THAT(messages(set_lines(half.object, {0xF0}, kToAction), &others),
                ElementsAre("1412/3 " + std::to_string(v), "1412/3 " + std::to_string(v + 3)));
    std::erase_if(others, [](const std::string &line) { return !line.starts_with("100 "); });
    EXPECT_THAT(others,
                ElementsAre("100 Invalidate cache on VSAN " + std::to_string(v + 1) + " fails\n",
                            "100 Invalidate cache on VSAN " + std::to_string(v + 2) + " fails\n"));
    EXPECT_THAT(bits_of(*half.list), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(messages(set_lines(half.object, {}, {kReserve1, kAction})), IsEmpty());
    EXPECT_THAT(bits_of(*half.list), IsEmpty());
  }
}

TEST_F(Discovery, NotificationSwitches) {
  const struct {
    FcsObject object;
    std::string handler;
    std::string opcode;
    const char *failed;
  } cases[] = {{fcsReqRejNotifyEnable, "101 write_fcsReqRejNotifyEnable:", "1407", "gen error"},
               {fcsDiscoveryCompleteNotifyEnable,
                "101 write_fcsDiscoveryCompleteNotifyEnable:", "1408", "gen err"}};
  for (const auto &c : cases) {
    for (const auto &[value, flag] : {std::pair(1, "1"), {2, "0"}}) {
      platform.enable_result = [] { return 0; };
      EXPECT_THAT(set_lines(c.object, integer(value), kAllPhases),
                  ElementsAre(c.handler + "enter rev1\n", c.handler + "exit rev1\n",
                              c.handler + "enter action\n",
                              "notif enable set " + c.opcode + " " + flag,
                              c.handler + "exit action\n"));
    }
    platform.enable_result = [] { return 77; };
    EXPECT_THAT(set_lines(c.object, integer(1), {kAction}, SNMP_ERR_GENERR),
                ElementsAre(c.handler + "enter action\n", "notif enable set " + c.opcode + " 1",
                            "log error 77 'text of 77'", c.handler + c.failed + "\n"));
  }
}

} // namespace
