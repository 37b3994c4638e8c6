/** The service's notifications: state, traces, and what is raised of them. */
#include "agent_calls.h"

#include <gtest/gtest.h>

namespace {

const std::string kRoot = ".1.3.6.1.4.1.32473.1.1";
const std::string kReject = "101 handle_fcs_reg_req_rej_notif:";
const std::string kComplete = "101 handle_fcs_disc_comp_notif:";
const std::string kCompleteOnVsan = "101 handle_fcs_disc_comp_on_vsan_notif:";
const std::string kTimeOutOnVsan = "101 handle_fcs_timeout_on_vsan_notif:";

/** The line of a question whether the service wants a notification. */
std::string asked(int record) {
  return "ipc 1402/1 record " + std::to_string(record) + " length 4 from user/7 to 20/77/0";
}

class Notifications : public testing::Test {
protected:
  void SetUp() override {
    start_module();
    fcs_rej_reason_code = 1;
    fcs_rej_reason_code_expl = 1;
    strcpy(fcs_discovery_name, "nightly");
  }
  void TearDown() override { fcs_discovery_name[0] = '\0'; }

  /** Has a message handled, or none; checks the lines without the exchange's own, and what is
   * raised: the trap's number (0: nothing) and the bindings. */
  static void expect(uint32_t opcode, const std::optional<Bytes> &payload, const Lines &lines,
                     oid trap = 0, const Lines &bindings = {}) {
    Raised raised;
    Lines own;
    for (const std::string &line : lines_of([&] { raised = notify(opcode, payload); })) {
      if (line.find("fcs_get_data") == std::string::npos && line.rfind("std", 0) != 0) {
        own.push_back(line);
      }
    }
    EXPECT_EQ(own, lines);
    EXPECT_EQ(raised.send, trap != 0);
    if (trap != 0) {
      EXPECT_EQ(raised.trap_oid, (std::vector<oid>{1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 4, 0, trap}));
    }
    EXPECT_EQ(raised.bindings, bindings);
  }
};

TEST_F(Notifications, RejectIsRaisedWhenTheServiceWantsIt) {
  const Bytes message = bytes_of(FcsRejectNotif{255, 0x50});
  platform.service = [](const Request &) { return Reply{0, bytes_of(uint32_t{1})}; };
  expect(FCS_MSG_REG_REQ_REJ, message, {kReject + "entering\n", asked(140), kReject + "end\n"}, 1,
         {kRoot + ".1.3.1.0 2: 10", kRoot + ".1.3.2.0 2: 16"});
  EXPECT_EQ(fcs_rej_reason_code, 10);
  EXPECT_EQ(fcs_rej_reason_code_expl, 16);

  fcs_rej_reason_code = 1;
  for (const Reply &unwanted : {Reply{0, bytes_of(uint32_t{0})}, Reply{FCS_ERR_STORE, {}}}) {
    platform.service = [&](const Request &) { return unwanted; };
    expect(FCS_MSG_REG_REQ_REJ, message, {kReject + "entering\n", asked(140)});
    EXPECT_EQ(fcs_rej_reason_code, 1);
  }
}

TEST_F(Notifications, CompletionCarriesTheNameWhateverTheServiceSays) {
  const std::pair<Bytes, std::string> cases[] = {{{'a', 'b', 0, 'c'}, "ab"},
                                                 {{}, ""},
                                                 {Bytes(32, 'x'), std::string(32, 'x')},
                                                 {Bytes(1024, 'x'), std::string(32, 'x')}};
  const std::string binding = kRoot + ".1.1.2.0 4: ";
  for (const auto &[payload, name] : cases) {
    expect(FCS_MSG_DISC_COMPLETE, payload,
           {kComplete + "entering\n", asked(150), kComplete + "end\n"}, 2, {binding + name});
  }
}

TEST_F(Notifications, EitherHalfCompletesTheDiscovery) {
  const Lines pending = {kCompleteOnVsan + "entering\n", kCompleteOnVsan + "end\n"};
  const Lines announced = {pending[0], "100 About to send disc complete notif..\n",
                           "send 77 to .254.0.0.0.0.0.0.0 opcode 1408 length 33 'nightly' 0/0/0",
                           pending[1]};
  const auto expect_completion = [](uint32_t vsan, const Lines &lines) {
    SCOPED_TRACE(vsan);
    expect(FCS_MSG_DISC_COMP_ON_VSAN, bytes_of(FcsVsanNotif{vsan}), lines);
  };
  for (const int bit : {0, 2047}) {
    bitmap_set_bit(&fcs_vsan_total_2k, bit);
    bitmap_set_bit(&fcs_vsan_total_4k, bit);
  }
  expect_completion(1, pending);
  expect_completion(2049, pending);
  // Again with every repeat, and with VSANs that there are none of.
  for (const uint32_t vsan : {2048U, 2048U, 4096U, 0U, 4097U, 0x80000000U, 0xFFFFFFFFU}) {
    expect_completion(vsan, announced);
  }
  EXPECT_NE(bitmap_equal(&fcs_notif_4k, &fcs_vsan_total_4k), 0);

  start_module(); // Two empty bitmaps are equal, here those of the first half.
  bitmap_set_bit(&fcs_vsan_total_4k, 5);
  expect_completion(3000, announced);
}

TEST_F(Notifications, TimeOutEndsTheWaitingOnly) {
  bitmap_set_bit(&fcs_vsan_total_2k, 2047);
  bitmap_set_bit(&fcs_vsan_total_4k, 0);
  for (const uint32_t vsan : {2048U, 2049U, 0U, 4097U, 0xFFFFFFFFU}) {
    expect(FCS_MSG_TIMEOUT_ON_VSAN, bytes_of(FcsVsanNotif{vsan}),
           {kTimeOutOnVsan + "entering\n", kTimeOutOnVsan + "end\n"});
  }
  EXPECT_EQ(bitmap_first_bit(&fcs_vsan_total_2k), -1);
  EXPECT_EQ(bitmap_first_bit(&fcs_vsan_total_4k), -1);
}

TEST_F(Notifications, AddressChangeIsRaised) {
  expect(FCS_MSG_IP_ADDR_CHANGE,
         bytes_of(FcsAddressNotif{7, {'1', '2', '3', '4', '5', '6', '7', '8'}}),
         {"100 Got ip addr change notif\n", "100 Vsan is 7\n",
          "101 handle_fcs_ip_addr_change_notif:end\n"},
         3, {kRoot + ".1.3.3.0 2: 7", kRoot + ".1.3.4.0 4: 12345678"});
}

TEST_F(Notifications, AMissingMessageEndsAHandlerSilently) {
  platform.service = [](const Request &) { return Reply{0, bytes_of(uint32_t{1})}; };
  expect(FCS_MSG_REG_REQ_REJ, {}, {kReject + "entering\n", asked(140)});
  expect(FCS_MSG_DISC_COMPLETE, {}, {kComplete + "entering\n", asked(150)});
  expect(FCS_MSG_DISC_COMP_ON_VSAN, {}, {kCompleteOnVsan + "entering\n"});
  expect(FCS_MSG_TIMEOUT_ON_VSAN, {}, {kTimeOutOnVsan + "entering\n"});
  expect(FCS_MSG_IP_ADDR_CHANGE, {}, {"100 Got ip addr change notif\n"});
}

} // namespace
