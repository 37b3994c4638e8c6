/** The service's notifications: state, traces, and what is raised of them. */
#include "recording_platform.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kRoot = ".1.3.6.1.4.1.32473.1.1";

std::vector<oid> trap(oid number) {
  return {1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 4, 0, number};
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

  static Lines own(const Lines &lines) {
    Lines result;
    for (const std::string &line : lines) {
      if (line.find("fcs_get_data") == std::string::npos && line.rfind("std", 0) != 0) {
        result.push_back(line);
      }
    }
    return result;
  }
};

TEST_F(Notifications, RejectIsRaisedWhenTheServiceWantsIt) {
  const IpcMessage message(bytes_of(FcsRejectNotif{255, 0x50}));
  Raised raised;
  platform.service = [](const Request &) { return Reply{0, bytes_of(uint32_t{1})}; };
  EXPECT_THAT(own(lines_of([&] { raised = notify(handle_fcs_reg_req_rej_notif, &message); })),
              ElementsAre("101 handle_fcs_reg_req_rej_notif:entering\n",
                          "ipc 1402/1 record 140 length 4 from user/7 to 20/77/0",
                          "101 handle_fcs_reg_req_rej_notif:end\n"));
  EXPECT_TRUE(raised.send);
  EXPECT_EQ(raised.trap_oid, trap(1));
  EXPECT_THAT(raised.bindings, ElementsAre(kRoot + ".1.3.1.0 2: 10", kRoot + ".1.3.2.0 2: 16"));
  EXPECT_EQ(fcs_rej_reason_code, 10);
  EXPECT_EQ(fcs_rej_reason_code_expl, 16);

  fcs_rej_reason_code = 1;
  const Reply unwanted[] = {{0, bytes_of(uint32_t{0})}, {FCS_ERR_STORE, {}}};
  for (const Reply &reply : unwanted) {
    platform.service = [&](const Request &) { return reply; };
    EXPECT_THAT(own(lines_of([&] { raised = notify(handle_fcs_reg_req_rej_notif, &message); })),
                ElementsAre("101 handle_fcs_reg_req_rej_notif:entering\n",
                            "ipc 1402/1 record 140 length 4 from user/7 to 20/77/0"));
    EXPECT_FALSE(raised.send);
    EXPECT_THAT(raised.bindings, IsEmpty());
    EXPECT_EQ(fcs_rej_reason_code, 1);
  }
}

TEST_F(Notifications, CompletionCarriesTheNameWhateverTheServiceSays) {
  const struct {
    Bytes payload;
    std::string name;
  } cases[] = {{{'a', 'b', 0, 'c'}, "ab"},
               {{}, ""},
               {Bytes(32, 'x'), std::string(32, 'x')},
               {Bytes(1024, 'x'), std::string(32, 'x')}};
  for (const auto &c : cases) {
    const IpcMessage message(c.payload);
    Raised raised;
    EXPECT_THAT(own(lines_of([&] { raised = notify(handle_fcs_disc_comp_notif, &message); })),
                ElementsAre("101 handle_fcs_disc_comp_notif:entering\n",
                            "ipc 1402/1 record 150 length 4 from user/7 to 20/77/0",
                            "101 handle_fcs_disc_comp_notif:end\n"));
    EXPECT_TRUE(raised.send);
    EXPECT_EQ(raised.trap_oid, trap(2));
    EXPECT_THAT(raised.bindings, ElementsAre(kRoot + ".1.1.2.0 4: " + c.name));
  }
}

TEST_F(Notifications, EitherHalfCompletesTheDiscovery) {
  const std::string entering = "101 handle_fcs_disc_comp_on_vsan_notif:entering\n";
  const std::string end = "101 handle_fcs_disc_comp_on_vsan_notif:end\n";
  const Lines announced = {entering, "100 About to send disc complete notif..\n",
                           "send 77 to 254.0.0.0.0.0.0.0 opcode 1408 length 33 'nightly' 0/0/0",
                           end};
  const auto completed = [](uint32_t vsan) {
    const IpcMessage message(bytes_of(FcsVsanNotif{vsan}));
    return lines_of(
        [&] { EXPECT_FALSE(notify(handle_fcs_disc_comp_on_vsan_notif, &message).send); });
  };
  for (const int bit : {0, 2047}) {
    bitmap_set_bit(&fcs_vsan_total_2k, bit);
    bitmap_set_bit(&fcs_vsan_total_4k, bit);
  }
  EXPECT_THAT(completed(1), ElementsAre(entering, end));
  EXPECT_THAT(completed(2049), ElementsAre(entering, end));
  EXPECT_THAT(completed(2048), ElementsAreArray(announced));
  EXPECT_THAT(completed(2048), ElementsAreArray(announced)) << "again with every repeat";
  EXPECT_THAT(completed(4096), ElementsAreArray(announced));
  for (const uint32_t nowhere : {0U, 4097U, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_THAT(completed(nowhere), ElementsAreArray(announced)) << nowhere;
  }
  EXPECT_NE(bitmap_equal(&fcs_notif_4k, &fcs_vsan_total_4k), 0);
}

TEST_F(Notifications, EmptyHalvesCompleteAtOnce) {
  bitmap_set_bit(&fcs_vsan_total_4k, 5);
  const IpcMessage message(bytes_of(FcsVsanNotif{3000}));
  EXPECT_EQ(lines_of([&] { notify(handle_fcs_disc_comp_on_vsan_notif, &message); }).size(), 4U)
      << "the two empty 2k bitmaps are equal";
}

TEST_F(Notifications, TimeOutEndsTheWaitingOnly) {
  bitmap_set_bit(&fcs_vsan_total_2k, 2047);
  bitmap_set_bit(&fcs_vsan_total_4k, 0);
  for (const uint32_t vsan : {2048U, 2049U, 0U, 4097U, 0xFFFFFFFFU}) {
    const IpcMessage message(bytes_of(FcsVsanNotif{vsan}));
    EXPECT_THAT(
        lines_of([&] { EXPECT_FALSE(notify(handle_fcs_timeout_on_vsan_notif, &message).send); }),
        ElementsAre("101 handle_fcs_timeout_on_vsan_notif:entering\n",
                    "101 handle_fcs_timeout_on_vsan_notif:end\n"));
  }
  EXPECT_EQ(bitmap_first_bit(&fcs_vsan_total_2k), -1);
  EXPECT_EQ(bitmap_first_bit(&fcs_vsan_total_4k), -1);
}

TEST_F(Notifications, AddressChangeIsRaised) {
  const IpcMessage message(bytes_of(FcsAddressNotif{7, {'1', '2', '3', '4', '5', '6', '7', '8'}}));
  Raised raised;
  EXPECT_THAT(lines_of([&] { raised = notify(handle_fcs_ip_addr_change_notif, &message); }),
              ElementsAre("100 Got ip addr change notif\n", "100 Vsan is 7\n",
                          "101 handle_fcs_ip_addr_change_notif:end\n"));
  EXPECT_TRUE(raised.send);
  EXPECT_EQ(raised.trap_oid, trap(3));
  EXPECT_THAT(raised.bindings,
              ElementsAre(kRoot + ".1.3.3.0 2: 7", kRoot + ".1.3.4.0 4: 12345678"));
}

TEST_F(Notifications, AMissingMessageEndsAHandlerSilently) {
  platform.service = [](const Request &) { return Reply{0, bytes_of(uint32_t{1})}; };
  for (AgentNotifHandler *handler :
       {handle_fcs_reg_req_rej_notif, handle_fcs_disc_comp_notif,
        handle_fcs_disc_comp_on_vsan_notif, handle_fcs_timeout_on_vsan_notif,
        handle_fcs_ip_addr_change_notif}) {
    Raised raised;
    const Lines lines = own(lines_of([&] { raised = notify(handler, nullptr); }));
    EXPECT_FALSE(raised.send);
    EXPECT_THAT(raised.bindings, IsEmpty());
    EXPECT_EQ(lines.back().find(":end"), std::string::npos);
  }
}

} // namespace
